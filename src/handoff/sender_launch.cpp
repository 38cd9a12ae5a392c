#include "handoff/sender_launch.h"

#include <shellapi.h>
#include <shlwapi.h>

#include <string>

#include "platform/handles.h"
#include "platform/os_version.h"
#include "platform/wow64_redirector.h"
#include "sender/sender_installation.h"

// Last: it renames the unbounded string routines that the headers above may use.
#include <strsafe.h>

namespace quillet {
namespace {

// The longest command line the plain start passes on, terminator included: a fixed bound on
// what a sender can receive, kept on purpose even though a longer line is cut.
constexpr size_t kCommandLineLength = 520;

// The show state is set without STARTF_USESHOWWINDOW, so the sender gets the default; kept so
// on purpose, senders have always been started that way.
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

bool RunElevated(HWND hwnd, const wchar_t* file, const wchar_t* parameters, const wchar_t* directory,
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
        return false; // also when the user refuses the elevation prompt
    UniqueKernelHandle process(info.hProcess);
    WaitAndCollect(process.get(), waitMilliseconds, exitCodeOut);
    return true;
}

bool RunPlain(const wchar_t* file, const wchar_t* parameters, const wchar_t* directory, DWORD waitMilliseconds,
              DWORD* exitCodeOut)
{
    std::wstring commandLine = L"\"" + std::wstring(file) + L"\"";
    if (parameters && *parameters) {
        commandLine += L' ';
        commandLine += parameters;
    }
    STARTUPINFOW startup = SenderStartupInfo();
    PROCESS_INFORMATION info = {};
    if (!CreateProcessW(file, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, directory, &startup, &info))
        return false;
    UniqueKernelHandle process(info.hProcess);
    UniqueKernelHandle thread(info.hThread); // closed first
    WaitAndCollect(process.get(), waitMilliseconds, exitCodeOut);
    return true;
}

} // namespace

bool StartProcess(const wchar_t* applicationName, wchar_t* commandLine)
{
    STARTUPINFOW startup = SenderStartupInfo();
    PROCESS_INFORMATION info = {};
    const bool started = CreateProcessW(applicationName, commandLine, nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                                        &startup, &info) != FALSE;
    UniqueKernelHandle process(info.hProcess);
    UniqueKernelHandle thread(info.hThread); // closed first
    return started;
}

bool RunProgram(HWND hwnd, const wchar_t* file, const wchar_t* parameters, const wchar_t* directory,
                DWORD waitMilliseconds, DWORD* exitCodeOut, bool elevate)
{
    if (!file)
        return false;
    if (elevate && IsVistaOrLater())
        return RunElevated(hwnd, file, parameters, directory, waitMilliseconds, exitCodeOut);
    return RunPlain(file, parameters, directory, waitMilliseconds, exitCodeOut);
}

bool LaunchSender(const wchar_t* listFileName, ProcessStarter start)
{
    if (!listFileName)
        return false;
    const std::wstring argument = L"/transferfilelist=\"" + std::wstring(listFileName) + L"\"";

    CWow64FsRedirector redirector;
    const std::wstring senderPath = SenderPathForLaunch();
    if (senderPath.empty() || !PathFileExistsW(senderPath.c_str()))
        return true; // deliberately a success: the list, the handler's part, is written

    // The sender sees its path unquoted, as it always has; a line too long is cut and used as it
    // is. The program started is named apart, by its full path, so that no "C:\Program.exe"
    // standing at the path's first blank can be started instead.
    wchar_t commandLine[kCommandLineLength] = {};
    StringCchPrintfW(commandLine, kCommandLineLength, L"%ls %ls", senderPath.c_str(), argument.c_str());
    if (!start(senderPath.c_str(), commandLine) && IsVistaOrLater())
        RunProgram(nullptr, senderPath.c_str(), argument.c_str(), nullptr, 0, nullptr, true);
    return true;
}

} // namespace quillet
