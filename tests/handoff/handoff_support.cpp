#include "handoff_support.h"

#include <shellapi.h>

#include "sender/sender_installation.h"
#include "support/environment.h"

namespace quillet::test {
namespace {

std::optional<std::wstring> GetVariable(const std::wstring& name)
{
    const DWORD size = GetEnvironmentVariableW(name.c_str(), nullptr, 0);
    if (size == 0)
        return std::nullopt;
    std::wstring value(size, L'\0');
    value.resize(GetEnvironmentVariableW(name.c_str(), value.data(), size));
    return value;
}

std::wstring FromBytes(const std::string& bytes)
{
    return std::wstring(reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / sizeof(wchar_t));
}

std::wstring MadeFolder(const std::wstring& path)
{
    CreateDirectoryW(path.c_str(), nullptr);
    return path;
}

bool FileExists(const std::wstring& path)
{
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

} // namespace

ScopedEnvironmentVariable::ScopedEnvironmentVariable(std::wstring name, const std::wstring& value)
    : m_name(std::move(name)), m_old(GetVariable(m_name))
{
    SetEnvironmentVariableW(m_name.c_str(), value.c_str());
}

ScopedEnvironmentVariable::~ScopedEnvironmentVariable()
{
    SetEnvironmentVariableW(m_name.c_str(), m_old ? m_old->c_str() : nullptr);
}

ScopedTempFolder::ScopedTempFolder(const std::wstring& hint) : m_folder(MakeTempFolder(hint))
{
    if (m_folder.empty())
        return;
    m_tmp.emplace(L"TMP", m_folder);
    m_temp.emplace(L"TEMP", m_folder);
}

ScopedTempFolder::~ScopedTempFolder()
{
    m_temp.reset();
    m_tmp.reset();
    RemoveTree(m_folder);
}

std::vector<std::wstring> ScopedTempFolder::ListFiles() const
{
    std::vector<std::wstring> files;
    WIN32_FIND_DATAW found = {};
    const HANDLE search = FindFirstFileW((m_folder + L"\\~ft*.tmp").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE)
        return files;
    do
        files.push_back(m_folder + L"\\" + found.cFileName);
    while (FindNextFileW(search, &found));
    FindClose(search);
    return files;
}

InstalledSender::InstalledSender(const std::wstring& parent)
    : InstalledSender(MadeFolder(parent + L"\\send er"), MadeFolder(parent + L"\\records"))
{
}

InstalledSender::InstalledSender(const std::wstring& folder, const std::wstring& recordFolder)
    : m_folder(folder),
      m_records(recordFolder),
      m_path(folder + L"\\Pelloc.exe"),
      m_registration(HKEY_LOCAL_MACHINE, kSenderAppPathsKey, kSenderPathValue),
      m_recordFolder(L"QUILLET_SENDER_RECORD_DIR", recordFolder)
{
    m_installed = CopyFileW((ProgramDirectory() + L"recording-sender.exe").c_str(), m_path.c_str(), FALSE);
    m_registration.SetString(folder);
}

NoSenderRegistered::NoSenderRegistered()
    : m_registration(HKEY_LOCAL_MACHINE, kSenderAppPathsKey, kSenderPathValue)
{
    m_registration.Delete();
}

bool SenderRecordAppears(const std::wstring& folder, DWORD timeoutMs)
{
    const ULONGLONG deadline = GetTickCount64() + timeoutMs;
    while (!FileExists(folder + L"\\record.done")) {
        if (GetTickCount64() >= deadline)
            return false;
        Sleep(20);
    }
    return true;
}

std::optional<SenderRecord> WaitForSenderRecord(const std::wstring& folder, DWORD timeoutMs)
{
    if (!SenderRecordAppears(folder, timeoutMs))
        return std::nullopt;
    SenderRecord record;
    record.commandLine = FromBytes(ReadFileBytes(folder + L"\\command-line.txt"));
    record.currentDirectory = FromBytes(ReadFileBytes(folder + L"\\current-directory.txt"));
    if (FileExists(folder + L"\\transfer-list.bin"))
        record.transferList = ReadFileBytes(folder + L"\\transfer-list.bin");
    return record;
}

std::vector<std::wstring> SplitCommandLine(const std::wstring& commandLine)
{
    std::vector<std::wstring> arguments;
    int count = 0;
    LPWSTR* list = CommandLineToArgvW(commandLine.c_str(), &count);
    if (!list)
        return arguments;
    for (int i = 0; i < count; ++i)
        arguments.emplace_back(list[i]);
    LocalFree(list);
    return arguments;
}

std::string Utf16Bytes(std::wstring_view text)
{
    return std::string(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t));
}

} // namespace quillet::test
