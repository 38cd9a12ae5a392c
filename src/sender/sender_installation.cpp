#include "sender/sender_installation.h"

#include <shlwapi.h>

#include <cstring>
#include <cwchar>
#include <iterator>

#include "platform/handles.h"

namespace quillet {
namespace {

// A folder the sender can be trusted to be in: a drive letter with its root ("C:\...") or a
// network name ("\\server\..."). Anything else would be looked up from the host's current
// folder, where whoever controls it could plant a "Pelloc.exe" of their own.
bool IsAbsoluteFolder(const wchar_t* path)
{
    const wchar_t letter = static_cast<wchar_t>(path[0] | 0x20);
    if (letter >= L'a' && letter <= L'z' && path[1] == L':' && path[2] == L'\\')
        return true;
    return path[0] == L'\\' && path[1] == L'\\' && path[2] != L'\\' && path[2] != L'\0';
}

// The folder with the separator placed by the one index test: where the terminator is when the
// value carries one, else its last character. Deliberately so: a stored trailing separator is
// doubled, and an unterminated value's last character becomes the separator. An empty value
// wraps around and is rejected with the oversized ones.
std::wstring WithSeparator(wchar_t (&buffer)[MAX_PATH], DWORD size)
{
    const DWORD last = size / 2 - 1;
    if (last >= MAX_PATH)
        return std::wstring();
    if (buffer[last] == L'\\')
        return std::wstring(buffer, wcsnlen(buffer, MAX_PATH)); // a full value stored unterminated
    if (last >= MAX_PATH - 1)
        return std::wstring();
    buffer[last] = L'\\';
    buffer[last + 1] = L'\0';
    return std::wstring(buffer);
}

} // namespace

std::wstring GetSenderDirectory()
{
    wchar_t buffer[MAX_PATH] = {};
    DWORD type = REG_SZ;
    DWORD size = sizeof(buffer);
    if (SHGetValueW(HKEY_LOCAL_MACHINE, kSenderAppPathsKey, kSenderPathValue, &type, buffer, &size) != ERROR_SUCCESS ||
        !IsAbsoluteFolder(buffer))
        return std::wstring();
    // The separator may land inside an odd-sized value, over its drive's colon.
    std::wstring folder = WithSeparator(buffer, size);
    return IsAbsoluteFolder(folder.c_str()) ? folder : std::wstring();
}

bool IsSenderInstalled()
{
    const std::wstring folder = GetSenderDirectory();
    return !folder.empty() && PathFileExistsW((folder + kSenderFileName).c_str()) != FALSE;
}

std::wstring ReadSenderLanguage()
{
    const std::wstring folder = GetSenderDirectory();
    if (folder.empty())
        return std::wstring();
    // Plain concatenation: the folder's separator is doubled, which the file system accepts.
    const std::wstring path = folder + L"\\config.ini";
    wchar_t language[1000] = {};
    GetPrivateProfileStringW(L"UI", L"language", L"", language, static_cast<DWORD>(std::size(language)),
                             path.c_str());
    return language;
}

DWORD ReadMenuOption()
{
    // Deliberately the 32-bit view: the sender is a 32-bit program and its profile lives there.
    UniqueRegKey key;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kSenderProfileKey, 0, KEY_QUERY_VALUE | KEY_WOW64_32KEY, key.put()) !=
        ERROR_SUCCESS) {
        key.release();
        return 1;
    }
    BYTE data[4096] = {};
    DWORD type = REG_NONE;
    DWORD size = sizeof(data);
    // A DWORD of another size is no setting the sender wrote.
    if (RegQueryValueExW(key.get(), kMenuOptionValue, nullptr, &type, data, &size) != ERROR_SUCCESS ||
        type != REG_DWORD || size != sizeof(DWORD))
        return 1;
    DWORD value = 0;
    std::memcpy(&value, data, sizeof(value));
    return value;
}

std::wstring SenderPathForLaunch()
{
    wchar_t path[MAX_PATH] = {};
    DWORD type = REG_SZ;
    // One byte short of the buffer, deliberately.
    DWORD size = sizeof(path) - 1;
    SHGetValueW(HKEY_LOCAL_MACHINE, kSenderAppPathsKey, kSenderPathValue, &type, path, &size);
    // A value that did not fit may have left the buffer unterminated.
    path[MAX_PATH - 1] = L'\0';
    // No registered folder, or one named relative to whatever folder the host is in: no sender.
    if (!IsAbsoluteFolder(path))
        return std::wstring();
    PathAppendW(path, kSenderFileName);
    return path;
}

} // namespace quillet
