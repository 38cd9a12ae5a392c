#include "support/module_library.h"

#include "platform/handles.h"

namespace quillet::test {

ModuleLibrary::ModuleLibrary(const std::wstring& path) : m_module(LoadLibraryW(path.c_str())) {}

ModuleLibrary::~ModuleLibrary()
{
    if (m_module)
        FreeLibrary(m_module);
}

FARPROC ModuleLibrary::Export(const char* name) const
{
    return m_module ? GetProcAddress(m_module, name) : nullptr;
}

HRESULT ModuleLibrary::CanUnloadNow() const
{
    auto fn = reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(reinterpret_cast<void*>(Export("DllCanUnloadNow")));
    return fn ? fn() : E_UNEXPECTED;
}

HRESULT ModuleLibrary::GetClassObject(REFCLSID clsid, REFIID riid, void** ppv) const
{
    auto fn = reinterpret_cast<HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**)>(
        reinterpret_cast<void*>(Export("DllGetClassObject")));
    return fn ? fn(clsid, riid, ppv) : E_UNEXPECTED;
}

HRESULT ModuleLibrary::RegisterServer() const
{
    auto fn = reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(reinterpret_cast<void*>(Export("DllRegisterServer")));
    return fn ? fn() : E_UNEXPECTED;
}

HRESULT ModuleLibrary::UnregisterServer() const
{
    auto fn =
        reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(reinterpret_cast<void*>(Export("DllUnregisterServer")));
    return fn ? fn() : E_UNEXPECTED;
}

DWORD RunRegsvr32(const std::wstring& modulePath, bool unregister)
{
    std::wstring commandLine = L"regsvr32.exe /s ";
    if (unregister)
        commandLine += L"/u ";
    commandLine += L"\"" + modulePath + L"\"";
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION info = {};
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &info))
        return GetLastError();
    UniqueKernelHandle process(info.hProcess);
    UniqueKernelHandle thread(info.hThread);
    WaitForSingleObject(process.get(), 60000);
    DWORD exitCode = 1;
    GetExitCodeProcess(process.get(), &exitCode);
    return exitCode;
}

} // namespace quillet::test
