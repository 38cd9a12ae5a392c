// The registration script as the registrar understands it:
//
//   HKCR { entry* }
//   entry := 'val' Name '=' 's' 'text'
//          | [ NoRemove | ForceRemove ] Name [ '=' 's' 'text' ] [ '{' entry* '}' ]
//
// Tokens are separated by blanks; quoted text is one token, in which '' stands for one quote and
// %MODULE% for the module's path. A name is one registry level, so it holds no backslash.
#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quillet {

enum class KeyRemoval { Normal, NoRemove, ForceRemove };

// The parent of a key written directly under HKCR.
constexpr size_t kTopLevel = SIZE_MAX;

struct ScriptKey {
    size_t parent = kTopLevel; // index of the enclosing key, which always comes earlier
    KeyRemoval removal = KeyRemoval::Normal;
    std::wstring name;
    std::optional<std::wstring> defaultValue;
    std::vector<std::pair<std::wstring, std::wstring>> namedValues;
};

// The keys in script order, or nothing when any part of the script is malformed.
std::optional<std::vector<ScriptKey>> ParseRegistrarScript(std::wstring_view script, std::wstring_view module);

} // namespace quillet
