// Starting the sender with a transfer list.
#pragma once
#include <windows.h>

namespace quillet {

// One CreateProcessW of applicationName, handed commandLine as it stands (unquoted paths stay
// unquoted); the process is not waited for.
bool StartProcess(const wchar_t* applicationName, wchar_t* commandLine);
using ProcessStarter = bool (*)(const wchar_t* applicationName, wchar_t* commandLine);

// Finds the sender through its App Paths registration (an absolute "Path" only) and starts it
// by its full path (through start) with /transferfilelist="<listFileName>", elevated on a
// second try from Windows Vista on. False only when listFileName is null; true whether or not
// anything was started.
bool LaunchSender(const wchar_t* listFileName, ProcessStarter start = StartProcess);

// Starts file with parameters. With elevate on Windows Vista or later: through the shell's
// "runas" verb. Otherwise: CreateProcessW of "\"file\" parameters" in directory. Waits up to
// waitMilliseconds, then reports the exit code (0 while it runs) when exitCodeOut is given.
bool RunProgram(HWND hwnd, const wchar_t* file, const wchar_t* parameters, const wchar_t* directory,
                DWORD waitMilliseconds, DWORD* exitCodeOut, bool elevate);

} // namespace quillet
