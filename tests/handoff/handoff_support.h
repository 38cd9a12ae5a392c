// What the hand-off tests share: a private temporary folder, the recording sender, the bytes.
#pragma once
#include <windows.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/registry.h"

namespace quillet::test {

// Sets an environment variable of this process (and so of what it starts) for a scope.
class ScopedEnvironmentVariable {
public:
    ScopedEnvironmentVariable(std::wstring name, const std::wstring& value);
    ~ScopedEnvironmentVariable();
    ScopedEnvironmentVariable(const ScopedEnvironmentVariable&) = delete;
    ScopedEnvironmentVariable& operator=(const ScopedEnvironmentVariable&) = delete;

private:
    std::wstring m_name;
    std::optional<std::wstring> m_old;
};

// A fresh folder that TMP and TEMP name while the object lives, so list files land in it.
class ScopedTempFolder {
public:
    // The folder is made under the current temporary folder, named after hint.
    explicit ScopedTempFolder(const std::wstring& hint);
    ~ScopedTempFolder();
    ScopedTempFolder(const ScopedTempFolder&) = delete;
    ScopedTempFolder& operator=(const ScopedTempFolder&) = delete;

    const std::wstring& Path() const { return m_folder; }
    // Full names of the transfer lists ("~ft*.tmp") in the folder.
    std::vector<std::wstring> ListFiles() const;

private:
    std::wstring m_folder;
    std::optional<ScopedEnvironmentVariable> m_tmp;
    std::optional<ScopedEnvironmentVariable> m_temp;
};

// The recording sender copied in as folder\Pelloc.exe and registered under App Paths; it
// writes its record into recordFolder.
class InstalledSender {
public:
    // Both folders made here: parent\"send er" (a space, as under Program Files) and parent\records.
    explicit InstalledSender(const std::wstring& parent);
    // Both folders made by the caller.
    InstalledSender(const std::wstring& folder, const std::wstring& recordFolder);
    const std::wstring& Path() const { return m_path; }
    const std::wstring& Folder() const { return m_folder; }
    const std::wstring& Records() const { return m_records; }
    bool Installed() const { return m_installed; }

private:
    std::wstring m_folder;
    std::wstring m_records;
    std::wstring m_path;
    bool m_installed = false;
    ScopedRegistryValue m_registration;
    ScopedEnvironmentVariable m_recordFolder;
};

// What the recording sender wrote: its command line, its current folder and the list's bytes.
struct SenderRecord {
    std::wstring commandLine;
    std::wstring currentDirectory;
    std::optional<std::string> transferList;
};
// Waits (bounded) for a complete record in folder.
std::optional<SenderRecord> WaitForSenderRecord(const std::wstring& folder, DWORD timeoutMs = 20000);
// True when a record appeared within timeoutMs.
bool SenderRecordAppears(const std::wstring& folder, DWORD timeoutMs);

// The arguments as the sender's runtime splits them.
std::vector<std::wstring> SplitCommandLine(const std::wstring& commandLine);
// The UTF-16LE bytes of text.
std::string Utf16Bytes(std::wstring_view text);

// No App Paths registration of the sender while the object lives.
class NoSenderRegistered {
public:
    NoSenderRegistered();

private:
    ScopedRegistryValue m_registration;
};

} // namespace quillet::test
