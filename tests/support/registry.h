// The registry helpers of the tools, and what only tests need: keys read, written and removed,
// and whole subtrees as text.
#pragma once
#include <set>

#include "common/registry.h"

namespace quillet::test {

// A plain write, not taken back: for state the code under test is expected to remove.
bool WriteString(HKEY root, const std::wstring& subKey, const std::wstring& valueName, const std::wstring& data);

// Each key below and including the given paths as "<path below HKCR> <value>...", values sorted
// by name, the default value as @. A string value reads @='text' when its data is exactly the
// text and one terminating zero; any other data shows its type and size. Paths that are not
// there add nothing.
using RegistryState = std::set<std::wstring>;
RegistryState ClassesState(const std::vector<std::wstring>& paths);

} // namespace quillet::test
