#include "minimal_handler.h"

#include "shell_extension.h"

namespace {

class MinimalHandler final : public ShellExtension {
public:
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
};

} // namespace

HRESULT CreateMinimalHandler(REFIID riid, void** ppv)
{
    return CreateShellExtension<MinimalHandler>(riid, ppv);
}
