// The COM identity the benchmarks' own handlers share: IShellExtInit and IContextMenu on one
// object, reference counted, made by CreateShellExtension<Handler>.
#pragma once
#include <windows.h>
#include <shlobj.h>

#include <new>

#include "common/counted.h"

struct ShellExtensionFaces : IShellExtInit, IContextMenu {};

class ShellExtension : public quillet::test::Counted<ShellExtensionFaces> {
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
    STDMETHODIMP InvokeCommand(CMINVOKECOMMANDINFO*) override { return S_OK; }
    STDMETHODIMP GetCommandString(UINT_PTR, UINT, UINT*, LPSTR, UINT) override { return E_NOTIMPL; }
};

template <class Handler>
HRESULT CreateShellExtension(REFIID riid, void** ppv)
{
    if (!ppv)
        return E_POINTER;
    *ppv = nullptr;
    auto* handler = new (std::nothrow) Handler();
    if (!handler)
        return E_OUTOFMEMORY;
    const HRESULT hr = handler->QueryInterface(riid, ppv);
    handler->Release();
    return hr;
}
