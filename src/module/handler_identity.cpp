// COM identity of the handler: its interface map and IDispatch forwarding.
#include <shlwapi.h>
#include <wrl/client.h>

#include "module/handler.h"
#include "module/type_info.h"

namespace quillet {

HRESULT CSDKelMN::InternalQueryInterface(REFIID riid, void** ppv)
{
    // Order matters: IUnknown is answered with the first entry's pointer.
    static const QITAB interfaceMap[] = {
        QITABENT(CSDKelMN, IFTKelMN),
        QITABENTMULTI(CSDKelMN, IDispatch, IFTKelMN),
        QITABENTMULTI(CSDKelMN, IContextMenu, IContextMenu3),
        QITABENTMULTI(CSDKelMN, IContextMenu2, IContextMenu3),
        QITABENT(CSDKelMN, IContextMenu3),
        QITABENT(CSDKelMN, IShellExtInit),
        {},
    };
    return QISearch(this, interfaceMap, riid, ppv);
}

STDMETHODIMP CSDKelMN::GetTypeInfoCount(UINT* count)
{
    if (!count)
        return E_POINTER;
    *count = 1;
    return S_OK;
}

STDMETHODIMP CSDKelMN::GetTypeInfo(UINT index, LCID lcid, ITypeInfo** typeInfo)
{
    if (index != 0)
        return DISP_E_BADINDEX;
    if (!typeInfo)
        return E_POINTER;
    return GetHandlerTypeInfo(lcid, typeInfo);
}

STDMETHODIMP CSDKelMN::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID lcid, DISPID* dispIds)
{
    Microsoft::WRL::ComPtr<ITypeInfo> info;
    const HRESULT hr = GetHandlerTypeInfo(lcid, info.GetAddressOf());
    return FAILED(hr) ? hr : info->GetIDsOfNames(names, count, dispIds);
}

STDMETHODIMP CSDKelMN::Invoke(DISPID dispId, REFIID, LCID lcid, WORD flags, DISPPARAMS* params, VARIANT* result,
                              EXCEPINFO* exception, UINT* argError)
{
    Microsoft::WRL::ComPtr<ITypeInfo> info;
    const HRESULT hr = GetHandlerTypeInfo(lcid, info.GetAddressOf());
    return FAILED(hr) ? hr
                      : info->Invoke(static_cast<IFTKelMN*>(this), dispId, flags, params, result, exception, argError);
}

} // namespace quillet
