// Files and folders of the test programs, tools and benchmarks.
#pragma once
#include <windows.h>

#include <string>

namespace quillet::test {

// Folder of the running program, with a trailing backslash.
std::wstring ProgramDirectory();
// Full path of Quillet.dll, which the build puts beside the programs.
std::wstring ModulePath();
// Full path of QuilletCommand.dll, built beside Quillet.dll.
std::wstring CommandModulePath();
// A fresh, empty folder under the temporary folder; removed by the caller with RemoveTree.
std::wstring MakeTempFolder(const std::wstring& hint);
void RemoveTree(const std::wstring& folder);
// Writes bytes to a file (creating or truncating it).
bool WriteFileBytes(const std::wstring& path, const void* data, size_t bytes);
std::string ReadFileBytes(const std::wstring& path);

} // namespace quillet::test
