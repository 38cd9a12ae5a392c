// The real Quillet.dll, loaded into the test process, and its four exports.
#pragma once
#include <windows.h>

#include <string>

namespace quillet::test {

class ModuleLibrary {
public:
    explicit ModuleLibrary(const std::wstring& path);
    ~ModuleLibrary();
    ModuleLibrary(const ModuleLibrary&) = delete;
    ModuleLibrary& operator=(const ModuleLibrary&) = delete;

    bool loaded() const { return m_module != nullptr; }
    HRESULT CanUnloadNow() const;
    HRESULT GetClassObject(REFCLSID clsid, REFIID riid, void** ppv) const;
    HRESULT RegisterServer() const;
    HRESULT UnregisterServer() const;

private:
    HMODULE m_module = nullptr;
    FARPROC Export(const char* name) const;
};

// Runs regsvr32 in a process of its own; returns its exit code (0 on success).
DWORD RunRegsvr32(const std::wstring& modulePath, bool unregister);

} // namespace quillet::test
