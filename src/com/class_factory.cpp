#include "com/class_factory.h"

#include <new>

#include "com/server_module.h"

namespace quillet {
namespace {

class CClassFactory final : public IClassFactory {
public:
    CClassFactory(CreatorFn plain, CreatorFn aggregated) : m_createPlain(plain), m_createAggregated(aggregated) {}

    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override
    {
        if (!ppv)
            return E_POINTER;
        if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IClassFactory)) {
            *ppv = static_cast<IClassFactory*>(this);
            AddRef();
            return S_OK;
        }
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return InterlockedIncrement(&m_refCount); }
    STDMETHODIMP_(ULONG) Release() override
    {
        const LONG count = InterlockedDecrement(&m_refCount);
        if (count == 0)
            delete this;
        return count;
    }

    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID riid, void** ppv) override
    {
        if (!ppv)
            return E_POINTER;
        *ppv = nullptr;
        if (outer && (!m_createAggregated || !IsEqualIID(riid, IID_IUnknown)))
            return CLASS_E_NOAGGREGATION;
        return outer ? m_createAggregated(outer, riid, ppv) : m_createPlain(nullptr, riid, ppv);
    }

    STDMETHODIMP LockServer(BOOL lock) override
    {
        if (lock)
            ModuleLock();
        else
            ModuleUnlock();
        return S_OK;
    }

private:
    LONG m_refCount = 0;
    CreatorFn m_createPlain;
    CreatorFn m_createAggregated;
};

} // namespace

HRESULT CreateClassFactory(CreatorFn createPlain, CreatorFn createAggregated, IUnknown** factory)
{
    auto* object = new (std::nothrow) CClassFactory(createPlain, createAggregated);
    if (!object)
        return E_OUTOFMEMORY;
    // Our own reference for the call: a failed QueryInterface then frees the object.
    object->AddRef();
    const HRESULT hr = object->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(factory));
    object->Release();
    return hr;
}

} // namespace quillet
