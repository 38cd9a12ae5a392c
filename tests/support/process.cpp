#include "support/process.h"

#include "platform/handles.h"

namespace quillet::test {

ProcessResult RunProcess(const std::wstring& commandLine, DWORD timeoutMs)
{
    ProcessResult result;
    SECURITY_ATTRIBUTES inherit = {sizeof(inherit), nullptr, TRUE};
    HANDLE readEnd = nullptr, writeEnd = nullptr;
    if (!CreatePipe(&readEnd, &writeEnd, &inherit, 0))
        return result;
    UniqueKernelHandle reader(readEnd);
    UniqueKernelHandle writer(writeEnd);
    SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0);

    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = writeEnd;
    startup.hStdError = writeEnd;
    PROCESS_INFORMATION info = {};
    std::wstring line = commandLine;
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &info))
        return result;
    UniqueKernelHandle process(info.hProcess);
    UniqueKernelHandle thread(info.hThread);
    writer.reset(); // the child holds the only write end now

    char chunk[4096];
    DWORD read = 0;
    while (ReadFile(reader.get(), chunk, sizeof(chunk), &read, nullptr) && read > 0)
        result.output.append(chunk, read);
    WaitForSingleObject(process.get(), timeoutMs);
    GetExitCodeProcess(process.get(), &result.exitCode);
    return result;
}

std::string Utf8(const std::wstring& text)
{
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr);
    std::string out(static_cast<size_t>(size > 0 ? size - 1 : 0), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, out.data(), size, nullptr, nullptr);
    return out;
}

bool WaitForFile(const std::wstring& path, DWORD timeoutMs)
{
    const ULONGLONG deadline = GetTickCount64() + timeoutMs;
    LONGLONG lastSize = -1;
    while (GetTickCount64() < deadline) {
        WIN32_FILE_ATTRIBUTE_DATA data = {};
        if (GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) {
            const LONGLONG size = (static_cast<LONGLONG>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
            if (size > 0 && size == lastSize)
                return true;
            lastSize = size;
        }
        Sleep(50);
    }
    return false;
}

} // namespace quillet::test
