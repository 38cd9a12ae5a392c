// The handler as COM sees it: activation, identity, class object, aggregation, dispatch, lifetime.
#include <gtest/gtest.h>
#include <shlobj.h>
#include <wrl/client.h>

#include <thread>

#include "quillet_idl.h"
#include "support/environment.h"
#include "support/module_library.h"

using Microsoft::WRL::ComPtr;

namespace quillet::test {
namespace {

// COM on the test thread, as Explorer's UI thread has it.
class ComApartment {
public:
    ComApartment() : m_hr(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)) {}
    ~ComApartment()
    {
        if (SUCCEEDED(m_hr))
            CoUninitialize();
    }

private:
    HRESULT m_hr;
};

// Registered by regsvr32 in a process of its own, then activated here through the registry.
class Activation : public testing::Test {
protected:
    static void SetUpTestSuite() { ASSERT_EQ(RunRegsvr32(ModulePath(), false), 0u); }
    static void TearDownTestSuite() { RunRegsvr32(ModulePath(), true); }
    ComApartment apartment;
};

TEST_F(Activation, RegistryActivationAnswersEveryInterfaceOfTheMap)
{
    ComPtr<IUnknown> object;
    ASSERT_EQ(CoCreateInstance(CLSID_FTKelMN, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown,
                               reinterpret_cast<void**>(object.GetAddressOf())),
              S_OK);

    void* identity = object.Get();
    const IID* const identityIids[] = {&IID_IFTKelMN, &IID_IDispatch};
    for (const IID* iid : identityIids) {
        ComPtr<IUnknown> p;
        ASSERT_EQ(object->QueryInterface(*iid, reinterpret_cast<void**>(p.GetAddressOf())), S_OK);
        EXPECT_EQ(p.Get(), identity);
    }
    ComPtr<IUnknown> menu1, menu2, menu3, init;
    ASSERT_EQ(object->QueryInterface(IID_IContextMenu, reinterpret_cast<void**>(menu1.GetAddressOf())), S_OK);
    ASSERT_EQ(object->QueryInterface(IID_IContextMenu2, reinterpret_cast<void**>(menu2.GetAddressOf())), S_OK);
    ASSERT_EQ(object->QueryInterface(IID_IContextMenu3, reinterpret_cast<void**>(menu3.GetAddressOf())), S_OK);
    ASSERT_EQ(object->QueryInterface(IID_IShellExtInit, reinterpret_cast<void**>(init.GetAddressOf())), S_OK);
    EXPECT_EQ(menu1.Get(), menu2.Get());
    EXPECT_EQ(menu2.Get(), menu3.Get());
    EXPECT_NE(menu1.Get(), identity);
    EXPECT_NE(init.Get(), identity);
    EXPECT_NE(init.Get(), menu1.Get());

    // Identity holds from every interface back to IUnknown.
    ComPtr<IUnknown> back;
    ASSERT_EQ(init->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(back.GetAddressOf())), S_OK);
    EXPECT_EQ(back.Get(), identity);

    ComPtr<IUnknown> none;
    EXPECT_EQ(object->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(none.GetAddressOf())),
              E_NOINTERFACE);
    EXPECT_EQ(none.Get(), nullptr);
    EXPECT_EQ(object->QueryInterface(IID_IContextMenu, nullptr), E_POINTER);
}

TEST_F(Activation, DispatchGoesThroughTheRegisteredTypeLibrary)
{
    ComPtr<IDispatch> dispatch;
    ASSERT_EQ(CoCreateInstance(CLSID_FTKelMN, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                               reinterpret_cast<void**>(dispatch.GetAddressOf())),
              S_OK);
    UINT count = 0;
    EXPECT_EQ(dispatch->GetTypeInfoCount(&count), S_OK);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(dispatch->GetTypeInfoCount(nullptr), E_POINTER);

    ComPtr<ITypeInfo> info;
    EXPECT_EQ(dispatch->GetTypeInfo(1, 0, info.GetAddressOf()), DISP_E_BADINDEX);
    EXPECT_EQ(dispatch->GetTypeInfo(0, 0, nullptr), E_POINTER);
    ASSERT_EQ(dispatch->GetTypeInfo(0, 0, info.GetAddressOf()), S_OK);
    TYPEATTR* attributes = nullptr;
    ASSERT_EQ(info->GetTypeAttr(&attributes), S_OK);
    EXPECT_TRUE(IsEqualGUID(attributes->guid, IID_IFTKelMN));
    EXPECT_EQ(attributes->cFuncs, 7) << "IUnknown and IDispatch slots only";
    info->ReleaseTypeAttr(attributes);

    wchar_t nameText[] = L"Transfer";
    LPOLESTR names[] = {nameText};
    DISPID id = 0;
    EXPECT_EQ(dispatch->GetIDsOfNames(IID_NULL, names, 1, 0, &id), DISP_E_UNKNOWNNAME);
    DISPPARAMS none = {};
    VARIANT result;
    VariantInit(&result);
    EXPECT_TRUE(FAILED(dispatch->Invoke(1, IID_NULL, 0, DISPATCH_METHOD, &none, &result, nullptr, nullptr)));
}

class ClassObject : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(module.loaded());
        ASSERT_EQ(module.GetClassObject(CLSID_FTKelMN, IID_IClassFactory,
                                        reinterpret_cast<void**>(factory.GetAddressOf())),
                  S_OK);
    }
    ComApartment apartment;
    ModuleLibrary module{ModulePath()};
    ComPtr<IClassFactory> factory;
};

TEST_F(ClassObject, ExportRejectsBadRequestsAndCachesOneFactory)
{
    void* out = reinterpret_cast<void*>(1);
    EXPECT_EQ(module.GetClassObject(CLSID_FTKelMN, IID_IClassFactory, nullptr), E_POINTER);
    EXPECT_EQ(module.GetClassObject(CLSID_ShellLink, IID_IClassFactory, &out), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(module.GetClassObject(CLSID_FTKelMN, IID_IContextMenu, &out), E_NOINTERFACE);

    ComPtr<IClassFactory> again;
    ASSERT_EQ(module.GetClassObject(CLSID_FTKelMN, IID_IClassFactory, reinterpret_cast<void**>(again.GetAddressOf())),
              S_OK);
    EXPECT_EQ(again.Get(), factory.Get());

    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
    ComPtr<IUnknown> object;
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IPersistFile, reinterpret_cast<void**>(object.GetAddressOf())),
              E_NOINTERFACE);
    EXPECT_EQ(object.Get(), nullptr);
    EXPECT_EQ(module.CanUnloadNow(), S_OK) << "a refused creation must not stay counted";
}

TEST_F(ClassObject, UnloadFollowsLiveObjectsAndServerLocks)
{
    EXPECT_EQ(module.CanUnloadNow(), S_OK) << "the cached factory itself is not counted";
    ComPtr<IContextMenu> first, second;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IContextMenu, reinterpret_cast<void**>(first.GetAddressOf())), S_OK);
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IContextMenu, reinterpret_cast<void**>(second.GetAddressOf())),
              S_OK);
    EXPECT_EQ(module.CanUnloadNow(), S_FALSE);
    first.Reset();
    EXPECT_EQ(module.CanUnloadNow(), S_FALSE);
    second.Reset();
    EXPECT_EQ(module.CanUnloadNow(), S_OK);

    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    EXPECT_EQ(module.CanUnloadNow(), S_FALSE);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    EXPECT_EQ(module.CanUnloadNow(), S_OK);
}

// An outer object that counts the references the inner one delegates to it.
class Outer final : public IUnknown {
public:
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override
    {
        if (IsEqualIID(riid, IID_IUnknown)) {
            *ppv = static_cast<IUnknown*>(this);
            AddRef();
            return S_OK;
        }
        return inner ? inner->QueryInterface(riid, ppv) : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++refs; }
    STDMETHODIMP_(ULONG) Release() override { return --refs; }
    ULONG refs = 1;
    IUnknown* inner = nullptr;
};

TEST_F(ClassObject, AggregationOnlyForIUnknownAndTheOuterObjectOwnsIdentity)
{
    Outer outer;
    ComPtr<IUnknown> refused;
    EXPECT_EQ(factory->CreateInstance(&outer, IID_IShellExtInit, reinterpret_cast<void**>(refused.GetAddressOf())),
              CLASS_E_NOAGGREGATION);
    EXPECT_EQ(module.CanUnloadNow(), S_OK);

    IUnknown* inner = nullptr;
    ASSERT_EQ(factory->CreateInstance(&outer, IID_IUnknown, reinterpret_cast<void**>(&inner)), S_OK);
    outer.inner = inner;
    EXPECT_EQ(outer.refs, 1u) << "the inner unknown holds no reference on its outer object";
    EXPECT_EQ(module.CanUnloadNow(), S_FALSE);

    IContextMenu* menu = nullptr;
    ASSERT_EQ(outer.QueryInterface(IID_IContextMenu, reinterpret_cast<void**>(&menu)), S_OK);
    EXPECT_EQ(outer.refs, 2u) << "references on aggregated interfaces go to the outer object";
    IUnknown* identity = nullptr;
    ASSERT_EQ(menu->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&identity)), S_OK);
    EXPECT_EQ(identity, static_cast<IUnknown*>(&outer));
    identity->Release();
    menu->Release();
    EXPECT_EQ(outer.refs, 1u);

    IUnknown* self = nullptr;
    ASSERT_EQ(inner->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&self)), S_OK);
    EXPECT_EQ(self, inner) << "the non-delegating unknown answers IUnknown itself";
    self->Release();

    outer.inner = nullptr;
    EXPECT_EQ(inner->Release(), 0u);
    EXPECT_EQ(module.CanUnloadNow(), S_OK);
}

// What CoInitialize answers on this thread right now: S_FALSE while an apartment is held.
HRESULT ProbeApartment()
{
    const HRESULT hr = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    if (SUCCEEDED(hr))
        CoUninitialize();
    return hr;
}

TEST_F(ClassObject, EachObjectHoldsTheApartmentAndGivesItBack)
{
    // A thread of its own, with no COM yet, as a fresh shell thread.
    HRESULT before = E_FAIL, during = E_FAIL, after = E_FAIL, mtaAfter = E_FAIL;
    std::thread([&] {
        before = ProbeApartment();
        ComPtr<IContextMenu> object;
        if (SUCCEEDED(factory->CreateInstance(nullptr, IID_IContextMenu, reinterpret_cast<void**>(object.GetAddressOf())))) {
            during = ProbeApartment();
            object.Reset();
        }
        after = ProbeApartment();

        // In a multithreaded apartment the object's CoInitialize fails and must not be undone.
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        if (SUCCEEDED(factory->CreateInstance(nullptr, IID_IContextMenu, reinterpret_cast<void**>(object.GetAddressOf()))))
            object.Reset();
        mtaAfter = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        if (SUCCEEDED(mtaAfter))
            CoUninitialize();
        CoUninitialize();
    }).join();
    EXPECT_EQ(before, S_OK);
    EXPECT_EQ(during, S_FALSE);
    EXPECT_EQ(after, S_OK);
    EXPECT_EQ(mtaAfter, S_FALSE) << "the thread's own multithreaded apartment must survive the object";
}

} // namespace
} // namespace quillet::test
