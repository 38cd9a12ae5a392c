#include "common/drop_data_object.h"

#include <shlobj.h>

#include <cstring>

namespace quillet::test {
namespace {

bool IsDropListRequest(const FORMATETC* format)
{
    return format && format->cfFormat == CF_HDROP && format->ptd == nullptr &&
           format->dwAspect == DVASPECT_CONTENT && format->lindex == -1 && (format->tymed & TYMED_HGLOBAL);
}

} // namespace

std::vector<BYTE> WideDropFiles(const std::vector<std::wstring>& paths)
{
    size_t characters = 1; // the closing empty name
    for (const auto& path : paths)
        characters += path.size() + 1;
    if (paths.empty())
        characters = 2; // an empty first name and the closing one: no walk runs past the end
    std::vector<BYTE> bytes(sizeof(DROPFILES) + characters * sizeof(wchar_t), 0);
    DROPFILES header = {};
    header.pFiles = sizeof(DROPFILES);
    header.fWide = TRUE;
    std::memcpy(bytes.data(), &header, sizeof(header));
    BYTE* out = bytes.data() + sizeof(DROPFILES);
    for (const auto& path : paths) {
        std::memcpy(out, path.c_str(), (path.size() + 1) * sizeof(wchar_t));
        out += (path.size() + 1) * sizeof(wchar_t);
    }
    return bytes;
}

UniqueGlobal MakeGlobal(const std::vector<BYTE>& bytes)
{
    UniqueGlobal block(GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes.size()));
    if (block && !bytes.empty()) {
        GlobalLockScope<BYTE> lock(block.get());
        if (lock.get())
            std::memcpy(lock.get(), bytes.data(), bytes.size());
    }
    return block;
}

Microsoft::WRL::ComPtr<DropDataObject> DropDataObject::Create(UniqueGlobal block, DWORD tymed)
{
    // Not Attach: MinGW's ComPtr::Attach adds a reference where Microsoft's takes one over.
    DropDataObject* created = new DropDataObject(std::move(block), tymed);
    Microsoft::WRL::ComPtr<DropDataObject> object(created);
    created->Release(); // the creation's own reference
    return object;
}

Microsoft::WRL::ComPtr<DropDataObject> DropDataObject::Create(const std::vector<BYTE>& dropFiles, DWORD tymed)
{
    return Create(MakeGlobal(dropFiles), tymed);
}

STDMETHODIMP DropDataObject::QueryInterface(REFIID riid, void** ppv)
{
    if (!ppv)
        return E_POINTER;
    if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IDataObject)) {
        *ppv = static_cast<IDataObject*>(this);
        AddRef();
        return S_OK;
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
}

STDMETHODIMP_(ULONG) DropDataObject::AddRef()
{
    return static_cast<ULONG>(InterlockedIncrement(&m_refCount));
}

STDMETHODIMP_(ULONG) DropDataObject::Release()
{
    const LONG count = InterlockedDecrement(&m_refCount);
    if (count == 0)
        delete this;
    return static_cast<ULONG>(count);
}

STDMETHODIMP DropDataObject::GetData(FORMATETC* format, STGMEDIUM* medium)
{
    if (!medium)
        return E_POINTER;
    if (!m_block || !IsDropListRequest(format))
        return DV_E_FORMATETC;
    medium->tymed = m_tymed;
    medium->hGlobal = m_block.get();
    medium->pUnkForRelease = static_cast<IDataObject*>(this);
    AddRef();
    return S_OK;
}

STDMETHODIMP DropDataObject::QueryGetData(FORMATETC* format)
{
    return m_block && IsDropListRequest(format) ? S_OK : DV_E_FORMATETC;
}

STDMETHODIMP DropDataObject::GetCanonicalFormatEtc(FORMATETC*, FORMATETC* out)
{
    if (out)
        out->ptd = nullptr;
    return DATA_S_SAMEFORMATETC;
}

} // namespace quillet::test
