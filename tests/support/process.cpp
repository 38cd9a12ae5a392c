#include "support/process.h"

#include "platform/handles.h"

namespace quillet::test {

ProcessResult RunProcess(const std::wstring& commandLine, DWORD timeoutMs)
{
    // Output goes to a file, not a pipe: a program the child starts may hold a pipe open for long.
    ProcessResult result;
    wchar_t folder[MAX_PATH] = {}, name[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, folder);
    GetTempFileNameW(folder, L"out", 0, name);
    SECURITY_ATTRIBUTES inherit = {sizeof(inherit), nullptr, TRUE};
    UniqueFileHandle output(CreateFileW(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit,
                                        CREATE_ALWAYS, FILE_FLAG_DELETE_ON_CLOSE, nullptr));
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = output.get();
    PROCESS_INFORMATION info = {};
    std::wstring line = commandLine;
    if (!output || !CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &info))
        return result;
    UniqueKernelHandle process(info.hProcess), thread(info.hThread);
    WaitForSingleObject(process.get(), timeoutMs);
    GetExitCodeProcess(process.get(), &result.exitCode);
    result.output.resize(GetFileSize(output.get(), nullptr));
    DWORD read = 0;
    SetFilePointer(output.get(), 0, nullptr, FILE_BEGIN);
    ReadFile(output.get(), result.output.data(), static_cast<DWORD>(result.output.size()), &read, nullptr);
    return result;
}

} // namespace quillet::test
