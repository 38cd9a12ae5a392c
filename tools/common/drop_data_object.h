// Drop lists and a minimal data object that serves one, as the shell's selection arrives.
#pragma once
#include <windows.h>
#include <objidl.h>
#include <wrl/client.h>

#include <string>
#include <vector>

#include "platform/handles.h"

namespace quillet::test {

// A DROPFILES header (fWide set) and the names, each terminated, then the closing empty name
// (an empty list is two zeros).
std::vector<BYTE> WideDropFiles(const std::vector<std::wstring>& paths);
// A movable global block holding exactly these bytes.
UniqueGlobal MakeGlobal(const std::vector<BYTE>& bytes);

// Serves its block as CF_HDROP (TYMED_HGLOBAL, DVASPECT_CONTENT, index -1) and nothing else;
// a hostile one claims another medium type for the same block.
// The medium it hands out keeps the object alive instead of owning a copy, so a caller that
// forgets ReleaseStgMedium leaves a reference behind. Without a block every GetData fails.
class DropDataObject final : public IDataObject {
public:
    static Microsoft::WRL::ComPtr<DropDataObject> Create(UniqueGlobal block, DWORD tymed = TYMED_HGLOBAL);
    static Microsoft::WRL::ComPtr<DropDataObject> Create(const std::vector<BYTE>& dropFiles,
                                                         DWORD tymed = TYMED_HGLOBAL);

    HGLOBAL Block() const { return m_block.get(); }
    ULONG References() const { return static_cast<ULONG>(m_refCount); }

    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    STDMETHODIMP GetData(FORMATETC* format, STGMEDIUM* medium) override;
    STDMETHODIMP GetDataHere(FORMATETC*, STGMEDIUM*) override { return E_NOTIMPL; }
    STDMETHODIMP QueryGetData(FORMATETC* format) override;
    STDMETHODIMP GetCanonicalFormatEtc(FORMATETC*, FORMATETC* out) override;
    STDMETHODIMP SetData(FORMATETC*, STGMEDIUM*, BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP EnumFormatEtc(DWORD, IEnumFORMATETC**) override { return E_NOTIMPL; }
    STDMETHODIMP DAdvise(FORMATETC*, DWORD, IAdviseSink*, DWORD*) override { return OLE_E_ADVISENOTSUPPORTED; }
    STDMETHODIMP DUnadvise(DWORD) override { return OLE_E_ADVISENOTSUPPORTED; }
    STDMETHODIMP EnumDAdvise(IEnumSTATDATA**) override { return OLE_E_ADVISENOTSUPPORTED; }

private:
    DropDataObject(UniqueGlobal block, DWORD tymed) : m_block(std::move(block)), m_tymed(tymed) {}
    ~DropDataObject() = default;

    LONG m_refCount = 1;
    UniqueGlobal m_block;
    const DWORD m_tymed;
};

} // namespace quillet::test
