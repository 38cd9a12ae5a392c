#include "common/module_library.h"

namespace quillet::test {

ModuleLibrary::ModuleLibrary(const std::wstring& path) : m_module(LoadLibraryW(path.c_str())) {}

FARPROC ModuleLibrary::Export(const char* name) const
{
    return m_module ? GetProcAddress(m_module.get(), name) : nullptr;
}

HRESULT ModuleLibrary::GetClassObject(REFCLSID clsid, REFIID riid, void** ppv) const
{
    auto fn = reinterpret_cast<HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**)>(
        reinterpret_cast<void*>(Export("DllGetClassObject")));
    return fn ? fn(clsid, riid, ppv) : E_UNEXPECTED;
}

} // namespace quillet::test
