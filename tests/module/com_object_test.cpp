// The handler as COM sees it: activation, identity, class object, aggregation, dispatch, lifetime.
#include <gtest/gtest.h>
#include <shlobj.h>
#include <wrl/client.h>

#include <cstdlib>
#include <new>
#include <optional>
#include <thread>

#include "com/class_factory.h"
#include "module/handler_objects.h"
#include "module/module_state.h"
#include "platform/gdiplus.h"
#include "quillet_idl.h"
#include "support/environment.h"
#include "support/import_patch.h"
#include "support/module_library.h"

using Microsoft::WRL::ComPtr;

// While set, allocations with new (std::nothrow) fail in this program, where the module's code
// linked in makes its objects with this replacement of the runtime's operator new.
bool g_failAllocations = false;
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return g_failAllocations ? nullptr : std::malloc(size ? size : 1);
}

namespace quillet::test {
namespace {

// What CoInitializeEx answers on this thread right now: S_FALSE while an apartment is held.
HRESULT ProbeApartment(DWORD model = COINIT_APARTMENTTHREADED)
{
    const HRESULT hr = CoInitializeEx(nullptr, model);
    if (SUCCEEDED(hr))
        CoUninitialize();
    return hr;
}

// Registered by regsvr32 in a process of its own, activated through the registry or through the
// exports of the module loaded here, on a thread with COM as Explorer's UI thread has it.
struct Unregistered : LoadedServer {
    Unregistered() : LoadedServer(ModulePath(), CLSID_FTKelMN) {}
    static void SetUpTestSuite() { RunRegsvr32(ModulePath(), true); }
};
struct ComObject : Unregistered {
    static void SetUpTestSuite() { ASSERT_EQ(RunRegsvr32(ModulePath(), false), 0u); }
    static void TearDownTestSuite() { RunRegsvr32(ModulePath(), true); }
};

// First in the program, before any registration: the type information cannot load yet.
TEST_F(Unregistered, DispatchAnswersTheTypeLibrarysLoadError)
{
    const ComPtr<IDispatch> dispatch = Create<IDispatch>();
    ITypeInfo* info = reinterpret_cast<ITypeInfo*>(1);
    EXPECT_EQ(dispatch->GetTypeInfo(0, 0, &info), TYPE_E_LIBNOTREGISTERED);
    EXPECT_EQ(info, nullptr);
    LPOLESTR names[] = {const_cast<LPOLESTR>(L"Transfer")};
    DISPID id = 0;
    EXPECT_EQ(dispatch->GetIDsOfNames(IID_NULL, names, 1, 0, &id), TYPE_E_LIBNOTREGISTERED);
}

TEST_F(ComObject, EveryInterfaceItAnswersLeadsBackToOneIdentity)
{
    ComPtr<IUnknown> object;
    ASSERT_EQ(CoCreateInstance(CLSID_FTKelMN, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&object)), S_OK);
    const std::pair<const IID*, HRESULT> kInterfaces[] = {
        {&IID_IUnknown, S_OK},      {&IID_IFTKelMN, S_OK},           {&IID_IDispatch, S_OK},
        {&IID_IContextMenu, S_OK},  {&IID_IContextMenu2, S_OK},      {&IID_IContextMenu3, S_OK},
        {&IID_IShellExtInit, S_OK}, {&IID_IPersistFile, E_NOINTERFACE}, {&IID_IClassFactory, E_NOINTERFACE}};
    for (const auto& [iid, answered] : kInterfaces) {
        ComPtr<IUnknown> answer, back;
        EXPECT_EQ(object->QueryInterface(*iid, reinterpret_cast<void**>(answer.GetAddressOf())), answered);
        EXPECT_EQ(answer && answer->QueryInterface(IID_PPV_ARGS(&back)) == S_OK && back == object, answered == S_OK);
    }
    EXPECT_EQ(object->QueryInterface(IID_IContextMenu, nullptr), E_POINTER);
}

TEST_F(ComObject, DispatchGoesThroughTheRegisteredTypeLibrary)
{
    ComPtr<IDispatch> dispatch;
    ASSERT_EQ(CoCreateInstance(CLSID_FTKelMN, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&dispatch)), S_OK);
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

    LPOLESTR names[] = {const_cast<LPOLESTR>(L"Transfer")};
    DISPID id = 0;
    EXPECT_EQ(dispatch->GetIDsOfNames(IID_NULL, names, 1, 0, &id), DISP_E_UNKNOWNNAME);
    DISPPARAMS none = {};
    EXPECT_TRUE(FAILED(dispatch->Invoke(1, IID_NULL, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr)));
}

TEST_F(ComObject, OneCachedFactoryRefusesBadRequestsAndCountsWhatLives)
{
    void* out = reinterpret_cast<void*>(1);
    EXPECT_EQ(module.GetClassObject(CLSID_FTKelMN, IID_IClassFactory, nullptr), E_POINTER);
    EXPECT_EQ(module.GetClassObject(CLSID_ShellLink, IID_IClassFactory, &out), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(module.GetClassObject(CLSID_FTKelMN, IID_IContextMenu, &out), E_NOINTERFACE);
    ComPtr<IClassFactory> again;
    ASSERT_EQ(module.GetClassObject(CLSID_FTKelMN, IID_PPV_ARGS(&again)), S_OK);
    EXPECT_EQ(again.Get(), factory.Get());
    EXPECT_EQ(factory->QueryInterface(IID_IClassFactory, nullptr), E_POINTER);
    EXPECT_EQ(factory->AddRef(), 4u) << "the cache's reference, the fixture's, this test's and this one";
    EXPECT_EQ(factory->Release(), 3u);
    EXPECT_EQ(module.CanUnloadNow(), S_OK) << "the cached factory itself is not counted";

    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
    ComPtr<IPersistFile> refused;
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_PPV_ARGS(&refused)), E_NOINTERFACE);
    EXPECT_EQ(refused.Get(), nullptr);
    EXPECT_EQ(module.CanUnloadNow(), S_OK) << "a refused creation must not stay counted";

    ComPtr<IContextMenu> first, second;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_PPV_ARGS(&first)), S_OK);
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_PPV_ARGS(&second)), S_OK);
    EXPECT_EQ(module.CanUnloadNow(), S_FALSE);
    first.Reset();
    EXPECT_EQ(module.CanUnloadNow(), S_FALSE);
    second.Reset();
    EXPECT_EQ(module.CanUnloadNow(), S_OK);
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    EXPECT_EQ(module.CanUnloadNow(), S_FALSE);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
}

// An outer object that counts the references the inner one delegates to it.
struct Outer final : IUnknown {
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override
    {
        if (!IsEqualIID(riid, IID_IUnknown))
            return inner ? inner->QueryInterface(riid, ppv) : E_NOINTERFACE;
        *ppv = static_cast<IUnknown*>(this);
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++refs; }
    STDMETHODIMP_(ULONG) Release() override { return --refs; }
    ULONG refs = 1;
    IUnknown* inner = nullptr;
};

TEST_F(ComObject, AggregationOnlyForIUnknownAndTheOuterObjectOwnsIdentity)
{
    Outer outer;
    ComPtr<IShellExtInit> refused;
    EXPECT_EQ(factory->CreateInstance(&outer, IID_PPV_ARGS(&refused)), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(module.CanUnloadNow(), S_OK);

    IUnknown* inner = nullptr;
    ASSERT_EQ(factory->CreateInstance(&outer, IID_PPV_ARGS(&inner)), S_OK);
    outer.inner = inner;
    EXPECT_EQ(outer.refs, 1u) << "the inner unknown holds no reference on its outer object";
    EXPECT_EQ(module.CanUnloadNow(), S_FALSE);

    IContextMenu* menu = nullptr;
    ASSERT_EQ(outer.QueryInterface(IID_PPV_ARGS(&menu)), S_OK);
    EXPECT_EQ(outer.refs, 2u) << "references on aggregated interfaces go to the outer object";
    IUnknown* identity = nullptr;
    ASSERT_EQ(menu->QueryInterface(IID_PPV_ARGS(&identity)), S_OK);
    EXPECT_EQ(identity, static_cast<IUnknown*>(&outer));
    identity->Release();
    menu->Release();
    EXPECT_EQ(outer.refs, 1u);

    IUnknown* self = nullptr;
    ASSERT_EQ(inner->QueryInterface(IID_PPV_ARGS(&self)), S_OK);
    EXPECT_EQ(self, inner) << "the non-delegating unknown answers IUnknown itself";
    EXPECT_EQ(inner->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(self->Release(), 1u);
    outer.inner = nullptr;
    EXPECT_EQ(inner->Release(), 0u);
}

// The creators check for themselves what the class object checks before calling them; the module's
// code is linked into this program too, so they are called directly.
TEST(Creators, RefuseBadArgumentsAndAnswerAFailedAllocation)
{
    Outer outer;
    IUnknown* self = &outer;
    EXPECT_EQ(CreatePlainHandler(nullptr, IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(CreateAggregatedHandler(&outer, IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(CreateAggregatedHandler(nullptr, IID_IUnknown, reinterpret_cast<void**>(&self)), E_INVALIDARG);
    EXPECT_EQ(self, nullptr);
    g_failAllocations = true;
    EXPECT_EQ(CreatePlainHandler(nullptr, IID_IUnknown, reinterpret_cast<void**>(&self)), E_OUTOFMEMORY);
    EXPECT_EQ(CreateAggregatedHandler(&outer, IID_IUnknown, reinterpret_cast<void**>(&self)), E_OUTOFMEMORY);
    EXPECT_EQ(CreateClassFactory(&CreatePlainHandler, nullptr, &self), E_OUTOFMEMORY);
    g_failAllocations = false;
}

TEST_F(ComObject, EachObjectHoldsTheApartmentAndGivesItBack)
{
    // A thread of its own, with no COM yet, as a fresh shell thread.
    HRESULT before = E_FAIL, during = E_FAIL, after = E_FAIL, mtaAfter = E_FAIL;
    std::thread([&] {
        before = ProbeApartment();
        ComPtr<IContextMenu> object;
        factory->CreateInstance(nullptr, IID_PPV_ARGS(&object));
        during = object ? ProbeApartment() : E_FAIL;
        object.Reset();
        after = ProbeApartment();
        // In a multithreaded apartment the object's CoInitialize fails and must not be undone.
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        factory->CreateInstance(nullptr, IID_PPV_ARGS(&object));
        object.Reset();
        mtaAfter = ProbeApartment(COINIT_MULTITHREADED);
        CoUninitialize();
    }).join();
    EXPECT_EQ(before, S_OK);
    EXPECT_EQ(during, S_FALSE);
    EXPECT_EQ(after, S_OK);
    EXPECT_EQ(mtaAfter, S_FALSE) << "the thread's own multithreaded apartment must survive the object";
}

// The type information a module keeps holds its library; an ordinary unload gives it back.
TEST(ModuleUnload, GivesBackTheTypeInformationItKept)
{
    std::optional<ServerModule> module(std::in_place, ModulePath());
    ASSERT_EQ(module->RegisterServer(), S_OK);
    ComPtr<ITypeLib> library;
    ASSERT_EQ(LoadRegTypeLib(LIBID_QUILLETLib, 1, 0, 0, &library), S_OK);
    const auto references = [&] { return library->AddRef(), library->Release(); };
    const ULONG before = references();
    {
        const ComPtr<IDispatch> dispatch = module->Create<IDispatch>(CLSID_FTKelMN);
        ComPtr<ITypeInfo> info;
        ASSERT_TRUE(dispatch);
        for (int call = 0; call < 2; ++call) // loaded, then handed out again
            ASSERT_EQ(dispatch->GetTypeInfo(0, 0, info.ReleaseAndGetAddressOf()), S_OK);
    }
    EXPECT_EQ(references(), before + 1) << "kept while loaded";
    EXPECT_EQ(module->UnregisterServer(), S_OK);
    module.reset();
    EXPECT_EQ(references(), before) << "given back at the unload";
}

// What the module's code, linked into this program, makes and has not given back: critical
// sections, and GDI+ start-ups. The counters pass each call on to Windows.
int g_liveSections = 0, g_liveGdiplus = 0;
void WINAPI Made(CRITICAL_SECTION* section)
{
    ++g_liveSections;
    WindowsFunction<decltype(&InitializeCriticalSection)>(L"kernel32.dll", "InitializeCriticalSection")(section);
}
void WINAPI Deleted(CRITICAL_SECTION* section)
{
    --g_liveSections;
    WindowsFunction<decltype(&DeleteCriticalSection)>(L"kernel32.dll", "DeleteCriticalSection")(section);
}
Gdiplus::Status WINAPI Started(ULONG_PTR* token, const Gdiplus::GdiplusStartupInput* in,
                               Gdiplus::GdiplusStartupOutput* out)
{
    ++g_liveGdiplus;
    return WindowsFunction<decltype(&Started)>(L"gdiplus.dll", "GdiplusStartup")(token, in, out);
}
void WINAPI ShutDown(ULONG_PTR token)
{
    --g_liveGdiplus;
    WindowsFunction<decltype(&ShutDown)>(L"gdiplus.dll", "GdiplusShutdown")(token);
}

// Explorer loads and frees a server again and again. Wine keeps no trace of an undeleted critical
// section, nor of a GDI+ never shut down, where the heap count below looks.
TEST(ModuleUnload, GivesBackEveryLockAndGdiplusStartUp)
{
    const ScopedImport made("kernel32.dll", "InitializeCriticalSection", &Made);
    const ScopedImport deleted("kernel32.dll", "DeleteCriticalSection", &Deleted);
    const ScopedImport started("gdiplus.dll", "GdiplusStartup", &Started);
    const ScopedImport shutDown("gdiplus.dll", "GdiplusShutdown", &ShutDown);
    InitializeModule(GetModuleHandleW(nullptr));
    ComPtr<IUnknown> handler;
    ASSERT_EQ(CreatePlainHandler(nullptr, IID_PPV_ARGS(&handler)), S_OK);
    EXPECT_EQ(g_liveGdiplus, 1);
    handler.Reset();
    EXPECT_EQ(g_liveGdiplus, 0);
    EXPECT_GT(g_liveSections, 0);
    TerminateModule(false);
    EXPECT_EQ(g_liveSections, 0);
}

TEST(ModuleUnload, LeavesNoMemoryBehind)
{
    EXPECT_LT(HeapBlocksLeftByLoads(ModulePath(), CLSID_FTKelMN), 10);
}

} // namespace
} // namespace quillet::test
