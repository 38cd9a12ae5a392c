// The real Quillet.dll, loaded into the calling process, and its four exports.
#pragma once
#include <windows.h>

#include <string>

#include "platform/handles.h"

namespace quillet::test {

class ModuleLibrary {
public:
    explicit ModuleLibrary(const std::wstring& path);
    ModuleLibrary(const ModuleLibrary&) = delete;
    ModuleLibrary& operator=(const ModuleLibrary&) = delete;

    bool loaded() const { return static_cast<bool>(m_module); }
    HRESULT CanUnloadNow() const;
    HRESULT GetClassObject(REFCLSID clsid, REFIID riid, void** ppv) const;
    HRESULT RegisterServer() const;
    HRESULT UnregisterServer() const;

private:
    UniqueLibrary m_module;
    FARPROC Export(const char* name) const;
};

} // namespace quillet::test
