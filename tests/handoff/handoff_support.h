// What the hand-off tests share: private folders, the sample sender and what it reports.
#pragma once
#include <gtest/gtest.h>
#include <windows.h>
#include <shellapi.h>
#include <shobjidl.h>

#include <optional>
#include <string>
#include <vector>

#include "common/registry.h"
#include "common/text.h"
#include "platform/handles.h"
#include "sender/sender_installation.h"
#include "support/environment.h"

namespace quillet::test {

// Full names of the list files ("~ft*.tmp") in folder.
inline std::vector<std::wstring> ListFiles(const std::wstring& folder)
{
    std::vector<std::wstring> files;
    WIN32_FIND_DATAW found = {};
    const HANDLE search = FindFirstFileW((folder + L"\\~ft*.tmp").c_str(), &found);
    for (BOOL more = search != INVALID_HANDLE_VALUE; more; more = FindNextFileW(search, &found))
        files.push_back(folder + L"\\" + found.cFileName);
    if (search != INVALID_HANDLE_VALUE)
        FindClose(search);
    return files;
}

inline std::string Utf16Bytes(const std::wstring& text)
{
    return std::string(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t));
}

// The sample sender copied in as folder\Pelloc.exe (folder made here; a failure fails the test)
// and registered under App Paths; it reports beside itself. It is told the value of an inheritable
// event, which it signals if it holds it: no start may hand it the starting process's handles.
struct InstalledSender {
    explicit InstalledSender(const std::wstring& in) : folder(in), path(folder + L"\\" + kSenderFileName)
    {
        CreateDirectoryW(folder.c_str(), nullptr);
        EXPECT_TRUE(CopyFileW((ProgramDirectory() + L"sample-sender.exe").c_str(), path.c_str(), FALSE));
        registration.SetString(folder);
        SetEnvironmentVariableW(L"SAMPLE_SENDER_PROBE", std::to_wstring(HandleToULong(probe.get())).c_str());
    }
    ~InstalledSender() { EXPECT_EQ(WaitForSingleObject(probe.get(), 0), DWORD(WAIT_TIMEOUT)) << "handles inherited"; }
    const std::wstring folder, path;
    SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    const UniqueKernelHandle probe{CreateEventW(&inheritable, TRUE, FALSE, nullptr)};
    ScopedRegistryValue registration{HKEY_LOCAL_MACHINE, kSenderAppPathsKey, kSenderPathValue};
};

// What the sender reported: its command line, its current folder, its window's show state with
// its start-up flags and, when it could read the list, what it received ("1 file(s) and 2 folder(s)").
struct SenderRecord { std::wstring commandLine, currentDirectory; std::string received, shown; };

// A plain start's: SW_SHOW without STARTF_USESHOWWINDOW, so the sender takes its default on purpose.
inline const std::string kPlainStartShown = "5 flags 0";

// Waits up to timeoutMs for a complete report of a sender installed in folder, and takes it away
// so that the next start leaves a new one.
inline std::optional<std::string> TakeReport(const std::wstring& folder, DWORD timeoutMs = 20000)
{
    const std::wstring report = folder + L"\\sender-report.txt";
    const ULONGLONG deadline = GetTickCount64() + timeoutMs;
    // The sender keeps the report open until it is whole.
    while (!UniqueFileHandle(CreateFileW(report.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr))) {
        if (GetTickCount64() >= deadline)
            return std::nullopt;
        Sleep(20);
    }
    std::string text = ReadFileBytes(report);
    DeleteFileW(report.c_str());
    return text;
}

// The report taken apart.
inline std::optional<SenderRecord> TakeRecord(const std::wstring& folder, DWORD timeoutMs = 20000)
{
    const std::optional<std::string> report = TakeReport(folder, timeoutMs);
    if (!report)
        return std::nullopt;
    const auto field = [&](const std::string& name) {
        const size_t start = report->find("sender: " + name + " ");
        const size_t from = start == std::string::npos ? report->size() : start + name.size() + 9;
        return report->substr(from, report->find('\n', from) - from);
    };
    return SenderRecord{FromUtf8(field("command line:")), FromUtf8(field("started in:")), field("received"),
                        field("shown:")};
}

// The command by its offset (0, as a menu that holds the handler's item chooses it).
inline HRESULT InvokeFirst(IContextMenu* menu, UINT offset = 0)
{
    CMINVOKECOMMANDINFO invoke = {};
    invoke.cbSize = sizeof(invoke);
    invoke.lpVerb = MAKEINTRESOURCEA(offset);
    return menu->InvokeCommand(&invoke);
}

// The arguments as the sender's runtime splits them.
inline std::vector<std::wstring> SplitCommandLine(const std::wstring& commandLine)
{
    int count = 0;
    LPWSTR* list = CommandLineToArgvW(commandLine.c_str(), &count);
    std::vector<std::wstring> arguments(list, list + (list ? count : 0));
    LocalFree(list);
    return arguments;
}

} // namespace quillet::test
