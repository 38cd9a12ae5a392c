#include "minimal_handler.h"

#include <new>

namespace {

class MinimalHandler final : public IShellExtInit, public IContextMenu {
public:
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override
    {
        if (!ppv)
            return E_POINTER;
        if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IShellExtInit))
            *ppv = static_cast<IShellExtInit*>(this);
        else if (IsEqualIID(riid, IID_IContextMenu))
            *ppv = static_cast<IContextMenu*>(this);
        else {
            *ppv = nullptr;
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_refs; }
    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG refs = --m_refs;
        if (refs == 0)
            delete this;
        return refs;
    }
    STDMETHODIMP Initialize(PCIDLIST_ABSOLUTE, IDataObject* data, HKEY) override
    {
        FORMATETC format = {CF_HDROP, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
        STGMEDIUM medium = {};
        if (!data || FAILED(data->GetData(&format, &medium)))
            return E_FAIL;
        const UINT count = DragQueryFileW(static_cast<HDROP>(medium.hGlobal), 0xFFFFFFFF, nullptr, 0);
        ReleaseStgMedium(&medium);
        return count ? S_OK : E_FAIL;
    }
    STDMETHODIMP QueryContextMenu(HMENU menu, UINT index, UINT first, UINT, UINT) override
    {
        InsertMenuW(menu, index, MF_BYPOSITION | MF_STRING, first, L"Minimal");
        return MAKE_HRESULT(SEVERITY_SUCCESS, 0, 1);
    }
    STDMETHODIMP InvokeCommand(CMINVOKECOMMANDINFO*) override { return S_OK; }
    STDMETHODIMP GetCommandString(UINT_PTR, UINT, UINT*, LPSTR, UINT) override { return E_NOTIMPL; }

private:
    ULONG m_refs = 0;
};

} // namespace

HRESULT CreateMinimalHandler(REFIID riid, void** ppv)
{
    auto* handler = new (std::nothrow) MinimalHandler();
    if (!handler)
        return E_OUTOFMEMORY;
    handler->AddRef();
    const HRESULT hr = handler->QueryInterface(riid, ppv);
    handler->Release();
    return hr;
}
