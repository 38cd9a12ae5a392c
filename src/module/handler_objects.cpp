#include "module/handler_objects.h"

#include <new>

#include "module/handler.h"

namespace quillet {
namespace {

// Guard count set while an object is destroyed, so that a reference taken and dropped
// inside the final release cannot start a second destruction.
constexpr LONG kDestructionGuard = static_cast<LONG>(0xC0000001u);

// Apartment-threaded: every call comes on the creating thread, so the count is plain.
class CPlainHandler final : public CSDKelMN {
public:
    ~CPlainHandler() override
    {
        m_refCount = kDestructionGuard;
        FinalRelease();
    }
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override { return InternalQueryInterface(riid, ppv); }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(++m_refCount); }
    STDMETHODIMP_(ULONG) Release() override
    {
        const LONG count = --m_refCount;
        if (count == 0)
            delete this;
        return static_cast<ULONG>(count);
    }
};

// The handler inside an aggregate: its interfaces delegate identity to the outer object.
class CContainedHandler final : public CSDKelMN {
public:
    explicit CContainedHandler(IUnknown* outer) : m_outer(outer) {}
    ~CContainedHandler() override
    {
        m_refCount = kDestructionGuard;
        FinalRelease();
    }
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override { return m_outer->QueryInterface(riid, ppv); }
    STDMETHODIMP_(ULONG) AddRef() override { return m_outer->AddRef(); }
    STDMETHODIMP_(ULONG) Release() override { return m_outer->Release(); }

private:
    IUnknown* m_outer;
};

// The non-delegating unknown that the outer object holds.
class CAggregatingHandler final : public IUnknown {
public:
    explicit CAggregatingHandler(IUnknown* outer) : m_contained(outer) {}

    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override
    {
        if (!ppv)
            return E_POINTER;
        if (IsEqualIID(riid, IID_IUnknown)) {
            *ppv = static_cast<IUnknown*>(this);
            AddRef();
            return S_OK;
        }
        return m_contained.InternalQueryInterface(riid, ppv);
    }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(++m_refCount); }
    STDMETHODIMP_(ULONG) Release() override
    {
        const LONG count = --m_refCount;
        if (count == 0) {
            m_refCount = kDestructionGuard;
            delete this;
        }
        return static_cast<ULONG>(count);
    }

    HRESULT FinalConstruct() { return m_contained.FinalConstruct(); }

private:
    LONG m_refCount = 0;
    CContainedHandler m_contained;
};

template <typename Object>
HRESULT Construct(Object* object, REFIID riid, void** ppv)
{
    // Held at 1 so that a temporary reference inside final construction cannot destroy it.
    object->AddRef();
    HRESULT hr = object->FinalConstruct();
    if (SUCCEEDED(hr))
        hr = object->QueryInterface(riid, ppv);
    if (FAILED(hr)) {
        *ppv = nullptr;
        object->Release(); // back to 0: destroyed, final release balances CoInitialize
        return hr;
    }
    object->Release(); // the caller's reference remains
    return S_OK;
}

} // namespace

HRESULT CreatePlainHandler(IUnknown*, REFIID riid, void** ppv)
{
    if (!ppv)
        return E_POINTER;
    *ppv = nullptr;
    auto* object = new (std::nothrow) CPlainHandler();
    if (!object)
        return E_OUTOFMEMORY;
    return Construct(object, riid, ppv);
}

HRESULT CreateAggregatedHandler(IUnknown* outer, REFIID riid, void** ppv)
{
    if (!ppv)
        return E_POINTER;
    *ppv = nullptr;
    if (!outer)
        return E_INVALIDARG;
    auto* object = new (std::nothrow) CAggregatingHandler(outer);
    if (!object)
        return E_OUTOFMEMORY;
    return Construct(object, riid, ppv);
}

} // namespace quillet
