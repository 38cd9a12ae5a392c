#include "module/type_info.h"

#include "module/module_state.h"
#include "quillet_idl.h"

namespace quillet {
namespace {

ITypeInfo* g_typeInfo = nullptr;

HRESULT LoadTypeInfo(LCID lcid)
{
    ITypeLib* library = nullptr;
    HRESULT hr = LoadRegTypeLib(LIBID_QUILLETLib, 1, 0, lcid, &library);
    if (FAILED(hr))
        return hr;
    ITypeInfo* info = nullptr;
    hr = library->GetTypeInfoOfGuid(IID_IFTKelMN, &info);
    library->Release();
    if (FAILED(hr))
        return hr;
    ITypeInfo2* info2 = nullptr;
    if (SUCCEEDED(info->QueryInterface(IID_ITypeInfo2, reinterpret_cast<void**>(&info2)))) {
        info->Release();
        info = info2;
    }
    g_typeInfo = info;
    return S_OK;
}

} // namespace

HRESULT GetHandlerTypeInfo(LCID lcid, ITypeInfo** typeInfo)
{
    if (!typeInfo)
        return E_POINTER;
    *typeInfo = nullptr;
    HRESULT hr = S_OK;
    EnterCriticalSection(&ModuleCriticalSection());
    if (!g_typeInfo)
        hr = LoadTypeInfo(lcid);
    if (g_typeInfo) {
        g_typeInfo->AddRef();
        *typeInfo = g_typeInfo;
    }
    LeaveCriticalSection(&ModuleCriticalSection());
    return hr;
}

void ReleaseTypeInfo()
{
    if (g_typeInfo) {
        g_typeInfo->Release();
        g_typeInfo = nullptr;
    }
}

} // namespace quillet
