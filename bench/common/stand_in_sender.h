// What the benchmarks right-click: the sender "installed" in a temporary folder of its own, with
// a config.ini and App Paths pointing at it, as on a user's machine, and one file beside it.
#pragma once
#include <windows.h>
#include <objidl.h>

#include <string>

class StandInSender {
public:
    explicit StandInSender(const wchar_t* name);
    ~StandInSender();
    StandInSender(const StandInSender&) = delete;
    StandInSender& operator=(const StandInSender&) = delete;

    std::wstring folder, sender, config, item;
};

// The shell's own data object for one path, as Explorer hands it to a handler.
HRESULT ShellDataObject(const std::wstring& path, IDataObject** data);

// The path of a file beside the running program.
std::wstring BesideProgram(const wchar_t* name);
