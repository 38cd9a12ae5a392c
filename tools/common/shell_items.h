// Shell items as Explorer hands them to a command: an array of items parsed from their names.
#pragma once
#include <windows.h>
#include <shobjidl.h>
#include <wrl/client.h>

#include <string>
#include <vector>

namespace quillet::test {

// The items in the given order. Names are what SHParseDisplayName takes: paths, or "::{CLSID}"
// for a virtual folder. A name that does not parse is left out and added to unparsed; no item at
// all gives no array.
Microsoft::WRL::ComPtr<IShellItemArray> ShellItemArray(const std::vector<std::wstring>& names,
                                                       std::vector<std::wstring>* unparsed = nullptr);
} // namespace quillet::test
