// The real module for tests: loaded through its exports, or registered by regsvr32.
#pragma once
#include <windows.h>

#include <string>

#include "common/module_library.h"

namespace quillet::test {

// Runs regsvr32 in a process of its own; returns its exit code (0 on success).
DWORD RunRegsvr32(const std::wstring& modulePath, bool unregister);

} // namespace quillet::test
