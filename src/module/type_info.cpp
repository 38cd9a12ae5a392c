#include "module/type_info.h"

#include <wrl/client.h>

#include "module/module_state.h"
#include "platform/handles.h"
#include "quillet_idl.h"

namespace quillet {
namespace {

using Microsoft::WRL::ComPtr;

// A plain pointer, not an owner: at process end it must be left alone, since the library
// that implements it may be gone by then. TerminateModule releases it at an ordinary unload.
ITypeInfo* g_typeInfo = nullptr;

HRESULT LoadTypeInfo(LCID lcid, ComPtr<ITypeInfo>& info)
{
    ComPtr<ITypeLib> library;
    HRESULT hr = LoadRegTypeLib(LIBID_QUILLETLib, 1, 0, lcid, library.GetAddressOf());
    if (FAILED(hr))
        return hr;
    hr = library->GetTypeInfoOfGuid(IID_IFTKelMN, info.ReleaseAndGetAddressOf());
    if (FAILED(hr))
        return hr;
    ComPtr<ITypeInfo2> info2;
    if (SUCCEEDED(info.As(&info2)))
        info = info2;
    return S_OK;
}

} // namespace

HRESULT GetHandlerTypeInfo(LCID lcid, ITypeInfo** typeInfo)
{
    *typeInfo = nullptr;
    {
        CriticalSectionScope lock(ModuleCriticalSection());
        if (g_typeInfo) {
            g_typeInfo->AddRef();
            *typeInfo = g_typeInfo;
            return S_OK;
        }
    }
    // Loaded outside the lock, since it reads the registry and a file; two threads that both
    // load keep the first and drop the second.
    ComPtr<ITypeInfo> loaded;
    const HRESULT hr = LoadTypeInfo(lcid, loaded);
    if (FAILED(hr))
        return hr;
    CriticalSectionScope lock(ModuleCriticalSection());
    if (!g_typeInfo)
        g_typeInfo = loaded.Detach();
    g_typeInfo->AddRef();
    *typeInfo = g_typeInfo;
    return S_OK;
}

void ReleaseTypeInfo()
{
    if (g_typeInfo) {
        g_typeInfo->Release();
        g_typeInfo = nullptr;
    }
}

} // namespace quillet
