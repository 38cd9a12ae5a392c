// Runs a program of the build as a child process and collects what it prints.
#pragma once
#include <windows.h>

#include <string>

namespace quillet::test {

struct ProcessResult {
    DWORD exitCode = 0xFFFFFFFF;
    std::string output; // standard output and error, as bytes (the tools print UTF-8)
};

// commandLine is passed to CreateProcessW as it is; waits at most timeoutMs.
ProcessResult RunProcess(const std::wstring& commandLine, DWORD timeoutMs = 120000);
std::string Utf8(const std::wstring& text);
// Waits until the file exists and has stopped growing; false on time-out.
bool WaitForFile(const std::wstring& path, DWORD timeoutMs);

} // namespace quillet::test
