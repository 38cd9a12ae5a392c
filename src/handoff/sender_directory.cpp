#include "handoff/sender_directory.h"

#include <windows.h>
#include <shlwapi.h>

#include <cwchar>

namespace quillet {

std::wstring GetSenderDirectory()
{
    wchar_t buffer[MAX_PATH] = {};
    DWORD type = REG_SZ;
    DWORD size = sizeof(buffer);
    if (SHGetValueW(HKEY_LOCAL_MACHINE, kSenderAppPathsKey, kSenderPathValue, &type, buffer, &size) != ERROR_SUCCESS)
        return std::wstring();

    // Index of the terminator when the value carries one, else of its last character;
    // an empty value wraps around and is rejected with the oversized ones.
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

} // namespace quillet
