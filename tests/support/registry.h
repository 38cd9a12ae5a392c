// The registry helpers of the tools, and what only tests need: keys read, written and removed.
#pragma once
#include "common/registry.h"

namespace quillet::test {

bool KeyExists(HKEY root, const std::wstring& subKey, REGSAM view = 0);
// Names of the subkeys, sorted.
std::vector<std::wstring> SubKeyNames(HKEY root, const std::wstring& subKey, REGSAM view = 0);
// A plain write, not taken back: for state the code under test is expected to remove.
bool WriteString(HKEY root, const std::wstring& subKey, const std::wstring& valueName, const std::wstring& data,
                 REGSAM view = 0);

} // namespace quillet::test
