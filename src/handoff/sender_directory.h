// Where the sender is installed, from its App Paths registration.
#pragma once
#include <string>

namespace quillet {

// The sender's registration under HKEY_LOCAL_MACHINE; its "Path" value names the folder.
inline constexpr wchar_t kSenderAppPathsKey[] = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\Pelloc.exe";
inline constexpr wchar_t kSenderPathValue[] = L"Path";
inline constexpr wchar_t kSenderFileName[] = L"Pelloc.exe";

// The folder with a trailing backslash, or "" when unknown.
std::wstring GetSenderDirectory();

} // namespace quillet
