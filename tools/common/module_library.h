// A COM server DLL loaded into the calling process, and its class objects.
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

    HRESULT GetClassObject(REFCLSID clsid, REFIID riid, void** ppv) const;

protected:
    FARPROC Export(const char* name) const;

private:
    UniqueLibrary m_module;
};

} // namespace quillet::test
