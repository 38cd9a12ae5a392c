#include "handoff/sender_launch.h"

#include <shellapi.h>
#include <shlwapi.h>

#include <string>

#include "handoff/sender_directory.h"
#include "platform/handles.h"
#include "platform/os_version.h"
#include "platform/wow64_redirector.h"

// Last: it renames the unbounded string routines that the headers above may use.
#include <strsafe.h>

namespace quillet {
namespace {

// The show state is set without STARTF_USESHOWWINDOW, so the sender gets the default.
STARTUPINFOW SenderStartupInfo()
{
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.wShowWindow = SW_SHOW;
    return startup;
}

void WaitAndCollect(HANDLE process, DWORD waitMilliseconds, DWORD* exitCodeOut)
{
    WaitForSingleObject(process, waitMilliseconds);
    if (exitCodeOut) {
        *exitCodeOut = 0;
        GetExitCodeProcess(process, exitCodeOut);
    }
}

BOOL RunElevated(HWND hwnd, const wchar_t* file, const wchar_t* parameters, const wchar_t* directory,
                 DWORD waitMilliseconds, DWORD* exitCodeOut)
{
    SHELLEXECUTEINFOW info = {};
    info.cbSize = sizeof(info);
    info.fMask = SEE_MASK_NOCLOSEPROCESS | 0x1000;
    info.hwnd = hwnd;
    info.lpVerb = L"runas";
    info.lpFile = file;
    info.lpParameters = parameters;
    info.lpDirectory = directory;
    info.nShow = SW_SHOWNORMAL;
    if (!ShellExecuteExW(&info))
        return FALSE; // also when the user refuses the elevation prompt
    UniqueKernelHandle process(info.hProcess);
    WaitAndCollect(process.get(), waitMilliseconds, exitCodeOut);
    return TRUE;
}

BOOL RunPlain(const wchar_t* file, const wchar_t* parameters, const wchar_t* directory, DWORD waitMilliseconds,
              DWORD* exitCodeOut)
{
    std::wstring commandLine = L"\"" + std::wstring(file) + L"\"";
    if (parameters && *parameters) {
        commandLine += L' ';
        commandLine += parameters;
    }
    STARTUPINFOW startup = SenderStartupInfo();
    PROCESS_INFORMATION info = {};
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, directory, &startup,
                        &info))
        return FALSE;
    UniqueKernelHandle process(info.hProcess);
    UniqueKernelHandle thread(info.hThread); // closed first
    WaitAndCollect(process.get(), waitMilliseconds, exitCodeOut);
    return TRUE;
}

} // namespace

BOOL StartProcess(wchar_t* commandLine)
{
    STARTUPINFOW startup = SenderStartupInfo();
    PROCESS_INFORMATION info = {};
    const BOOL started =
        CreateProcessW(nullptr, commandLine, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &info);
    UniqueKernelHandle process(info.hProcess);
    UniqueKernelHandle thread(info.hThread); // closed first
    return started;
}

BOOL RunProgram(HWND hwnd, const wchar_t* file, const wchar_t* parameters, const wchar_t* directory,
                DWORD waitMilliseconds, DWORD* exitCodeOut, bool elevate)
{
    if (!file)
        return FALSE;
    if (elevate && IsVistaOrLater())
        return RunElevated(hwnd, file, parameters, directory, waitMilliseconds, exitCodeOut);
    return RunPlain(file, parameters, directory, waitMilliseconds, exitCodeOut);
}

int LaunchSender(const wchar_t* listFileName)
{
    if (!listFileName)
        return 0;
    const std::wstring argument = L"/transferfilelist=\"" + std::wstring(listFileName) + L"\"";

    CWow64FsRedirector redirector;
    wchar_t senderPath[MAX_PATH] = {};
    DWORD type = REG_SZ;
    // One byte short of the buffer, deliberately.
    DWORD size = sizeof(senderPath) - 1;
    SHGetValueW(HKEY_LOCAL_MACHINE, kSenderAppPathsKey, kSenderPathValue, &type, senderPath, &size);
    // A value that did not fit may have left the buffer unterminated.
    senderPath[MAX_PATH - 1] = L'\0';
    // Without a registered folder this tests the bare name; no other place is searched.
    PathAppendW(senderPath, kSenderFileName);
    if (!PathFileExistsW(senderPath))
        return 1;

    // The sender's path goes unquoted; a line too long is cut and used as it is.
    wchar_t commandLine[520] = {};
    StringCchPrintfW(commandLine, 520, L"%ls %ls", senderPath, argument.c_str());
    if (!StartProcess(commandLine) && IsVistaOrLater())
        RunProgram(nullptr, senderPath, argument.c_str(), nullptr, 0, nullptr, true);
    return 1;
}

} // namespace quillet
