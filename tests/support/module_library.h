// The real module for tests: loaded through its exports, or registered by regsvr32.
#pragma once
#include <windows.h>

#include <gtest/gtest.h>
#include <wrl/client.h>

#include <string>

#include "common/module_library.h"

namespace quillet::test {

// The module with the exports only its tests call: DllCanUnloadNow, DllRegisterServer and
// DllUnregisterServer (E_UNEXPECTED when it has none).
class ServerModule : public ModuleLibrary {
public:
    using ModuleLibrary::ModuleLibrary;
    HRESULT CanUnloadNow() const { return Call("DllCanUnloadNow"); }
    HRESULT RegisterServer() const { return Call("DllRegisterServer"); }
    HRESULT UnregisterServer() const { return Call("DllUnregisterServer"); }
    // A new object of the class, through its class object (null, failing the test, if none is made).
    template <typename Interface>
    Microsoft::WRL::ComPtr<Interface> Create(REFCLSID clsid) const
    {
        Microsoft::WRL::ComPtr<IClassFactory> factory;
        Microsoft::WRL::ComPtr<Interface> object;
        EXPECT_TRUE(GetClassObject(clsid, IID_PPV_ARGS(&factory)) == S_OK &&
                    factory->CreateInstance(nullptr, IID_PPV_ARGS(&object)) == S_OK);
        return object;
    }

private:
    HRESULT Call(const char* name) const
    {
        const auto function = reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(reinterpret_cast<void*>(Export(name)));
        return function ? function() : E_UNEXPECTED;
    }
};

// Runs regsvr32 in a process of its own; returns its exit code (0 on success).
DWORD RunRegsvr32(const std::wstring& modulePath, bool unregister);

// The heap blocks left behind by 20 loads of a server, each making one object and freeing it, as
// Explorer and the COM surrogate load and free a server again and again: 20 or more when each
// load leaks.
long HeapBlocksLeftByLoads(const std::wstring& path, REFCLSID clsid);

// A server loaded through its exports on a single-threaded apartment, as Explorer or the COM
// surrogate holds it, and its class object; at the end every object it made must be gone.
struct LoadedServer : testing::Test {
    LoadedServer(const std::wstring& path, REFCLSID clsid) : module(path), m_clsid(clsid) {}
    void SetUp() override
    {
        ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
        ASSERT_EQ(module.GetClassObject(m_clsid, IID_PPV_ARGS(&factory)), S_OK);
    }
    void TearDown() override
    {
        factory.Reset();
        EXPECT_EQ(module.CanUnloadNow(), S_OK);
        CoUninitialize();
    }
    template <typename Interface>
    Microsoft::WRL::ComPtr<Interface> Create()
    {
        Microsoft::WRL::ComPtr<Interface> object;
        EXPECT_EQ(factory->CreateInstance(nullptr, IID_PPV_ARGS(&object)), S_OK);
        return object;
    }

    ServerModule module;
    Microsoft::WRL::ComPtr<IClassFactory> factory;
    const CLSID m_clsid;
};

} // namespace quillet::test
