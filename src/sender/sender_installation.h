// What the module knows of the sender's installation: where it is registered, its file name
// and its own settings. Each reader asks the system at the moment it is called: the user may
// install, move or reconfigure the sender while the host runs.
#pragma once
#include <windows.h>

#include <string>

namespace quillet {

// The sender's registration under HKEY_LOCAL_MACHINE; its "Path" value names the folder.
inline constexpr wchar_t kSenderAppPathsKey[] = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\Pelloc.exe";
inline constexpr wchar_t kSenderPathValue[] = L"Path";
inline constexpr wchar_t kSenderFileName[] = L"Pelloc.exe";
// The sender's profile under HKEY_LOCAL_MACHINE, in the 32-bit view, and its setting that
// hides the command.
inline constexpr wchar_t kSenderProfileKey[] = L"SOFTWARE\\Pelloc\\Profile";
inline constexpr wchar_t kMenuOptionValue[] = L"MenuOption";

// The folder with a trailing backslash, or "" when unknown: no "Path" value, or one that is not
// absolute (a drive letter and a backslash, or a network name). The separator goes where the
// value's terminator is, so a value with a NUL before its end, of an odd size or expanding to
// something shorter ends without one, deliberately: the rule is what installed systems do.
std::wstring GetSenderDirectory();
// Whether the sender's file is in that folder; never when the folder is unknown.
bool IsSenderInstalled();
// "language" in section "UI" of the sender's "config.ini", or "" when there is none or the
// folder is unknown (then no file is read).
std::wstring ReadSenderLanguage();
// "MenuOption": 0 hides the command; anything else, or nothing readable (a value that is no
// 4-byte REG_DWORD), shows it.
DWORD ReadMenuOption();
// The sender's full path as the launch finds it, by a lookup of its own that does not share
// GetSenderDirectory's buffer rules; "" when the "Path" value is missing or not absolute. It
// may name no file at all.
std::wstring SenderPathForLaunch();

} // namespace quillet
