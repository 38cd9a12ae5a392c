// What a test program was run as, and where its files are.
#pragma once
#include <windows.h>

#include <string>

namespace quillet::test {

// The Windows version name the runner asked Wine for ("winxp", ...), or "" for the default.
std::string RequestedWindowsVersion();
// The display DPI the runner set, or 0 when it set none.
int RequestedDpi();
// Folder of the running test program, with a trailing backslash.
std::wstring ProgramDirectory();
// Full path of Quillet.dll, which the build puts beside the test programs.
std::wstring ModulePath();
// A fresh, empty folder under the temporary folder; removed by the caller with RemoveTree.
std::wstring MakeTempFolder(const std::wstring& hint);
void RemoveTree(const std::wstring& folder);
// Writes bytes to a file (creating or truncating it).
bool WriteFileBytes(const std::wstring& path, const void* data, size_t bytes);
std::string ReadFileBytes(const std::wstring& path);

} // namespace quillet::test
