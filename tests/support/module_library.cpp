#include "support/module_library.h"

#include "platform/handles.h"

namespace quillet::test {

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
