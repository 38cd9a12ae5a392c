// What the hand-off tests share: private folders, the recording sender and what it records.
#pragma once
#include <windows.h>
#include <shellapi.h>

#include <optional>
#include <string>
#include <vector>

#include "common/registry.h"
#include "sender/sender_installation.h"
#include "support/environment.h"

namespace quillet::test {

// Full names of the list files ("~ft*.tmp") in folder.
inline std::vector<std::wstring> ListFiles(const std::wstring& folder)
{
    std::vector<std::wstring> files;
    WIN32_FIND_DATAW found = {};
    const HANDLE search = FindFirstFileW((folder + L"\\~ft*.tmp").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE)
        return files;
    do
        files.push_back(folder + L"\\" + found.cFileName);
    while (FindNextFileW(search, &found));
    FindClose(search);
    return files;
}

inline std::string Utf16Bytes(const std::wstring& text)
{
    return std::string(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t));
}

// The recording sender copied in as folder\Pelloc.exe (folder made here) and registered under
// App Paths; it leaves its record beside itself.
struct InstalledSender {
    explicit InstalledSender(const std::wstring& folder) : path(folder + L"\\" + kSenderFileName)
    {
        CreateDirectoryW(folder.c_str(), nullptr);
        installed = CopyFileW((ProgramDirectory() + L"recording-sender.exe").c_str(), path.c_str(), FALSE) != FALSE;
        registration.SetString(folder);
    }
    const std::wstring path;
    bool installed = false;
    ScopedRegistryValue registration{HKEY_LOCAL_MACHINE, kSenderAppPathsKey, kSenderPathValue};
};

// What the recording sender wrote: its command line, its current folder, the list's bytes.
struct SenderRecord {
    std::wstring commandLine;
    std::wstring currentDirectory;
    std::optional<std::string> transferList;
};

// Waits up to timeoutMs for a complete record in folder and takes it away, so that the next
// start leaves a new one.
inline std::optional<SenderRecord> TakeRecord(const std::wstring& folder, DWORD timeoutMs = 20000)
{
    const ULONGLONG deadline = GetTickCount64() + timeoutMs;
    // record.done is written last, and cannot be deleted while it is being written.
    while (!DeleteFileW((folder + L"\\record.done").c_str())) {
        if (GetTickCount64() >= deadline)
            return std::nullopt;
        Sleep(20);
    }
    const auto text = [&](const wchar_t* name) {
        const std::string bytes = ReadFileBytes(folder + name);
        return std::wstring(reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / sizeof(wchar_t));
    };
    SenderRecord record{text(L"\\command-line.txt"), text(L"\\current-directory.txt"), std::nullopt};
    const std::wstring list = folder + L"\\transfer-list.bin";
    if (GetFileAttributesW(list.c_str()) != INVALID_FILE_ATTRIBUTES)
        record.transferList = ReadFileBytes(list);
    DeleteFileW(list.c_str());
    return record;
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
