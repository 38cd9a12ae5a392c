// Subtrees of HKEY_CLASSES_ROOT as text, one line per key, to compare whole registry states.
#pragma once
#include <set>
#include <string>
#include <vector>

namespace quillet::test {

// Each key below and including the given paths as "<path below HKCR> <value>...", values sorted
// by name, the default value as @. A string value reads @='text' when its data is exactly the
// text and one terminating zero; any other data shows its type and size. Paths that are not
// there add nothing.
using RegistryState = std::set<std::wstring>;
RegistryState ClassesState(const std::vector<std::wstring>& paths);

} // namespace quillet::test
