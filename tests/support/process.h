// Runs a program of the build as a child process and collects what it prints.
#pragma once
#include <windows.h>

#include <string>

#include "common/text.h"

namespace quillet::test {

// output: standard output and error, as bytes (the tools print UTF-8).
struct ProcessResult { DWORD exitCode = 0xFFFFFFFF; std::string output; };

// commandLine is passed to CreateProcessW as it is; waits at most timeoutMs for the child, not for
// the programs it starts.
ProcessResult RunProcess(const std::wstring& commandLine, DWORD timeoutMs = 120000);

} // namespace quillet::test
