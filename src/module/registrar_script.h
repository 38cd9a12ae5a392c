// The registration script as a tree: what the registrar parses before it touches the registry.
//
// Grammar (tokens are separated by whitespace; a quoted string is one token):
//   script  := block+
//   block   := root '{' body '}'
//   root    := HKCR | HKCU | HKLM | HKU | HKCC, or the HKEY_... long form
//   body    := ( key | 'val' name '=' value )*
//   key     := [ ForceRemove | NoRemove | Delete ] name [ '=' value ] [ '{' body '}' ]
//   name    := bare-word | 'quoted text'
//   value   := type 'quoted data'      type: s (REG_SZ), e (REG_EXPAND_SZ), d (REG_DWORD,
//                                      decimal or 0x hex), b (REG_BINARY, hex pairs),
//                                      m (REG_MULTI_SZ, items separated by \0)
// Keywords, root names and type letters are matched without regard to case, and only in bare
// form: a key literally called "Delete" is written 'Delete'. Inside quotes '' stands for one
// quote. %NAME% anywhere in a token becomes the replacement of that name (case ignored), before
// the doubled quotes are undone, so a value that will sit between quotes is given with its
// quotes doubled; %% is one percent sign.
#pragma once
#include <windows.h>

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "module/registrar.h"

namespace quillet {

// Returned for any script that does not parse; nothing has been written when it is.
constexpr HRESULT kMalformedRegistrarScript = static_cast<HRESULT>(0x80070000u | ERROR_INVALID_DATA);

// Deeper nesting than this is refused, so hostile input cannot exhaust the stack.
// Counted in brace levels, the root block's own braces being the first.
constexpr int kMaxRegistrarNesting = 64;

enum class RegistrarKeyFlag { None, ForceRemove, NoRemove, Delete };

struct RegistrarValue {
    std::wstring name; // empty for a key's default value
    DWORD type = REG_SZ;
    std::vector<BYTE> data; // exactly the bytes handed to RegSetValueExW
};

struct RegistrarKey {
    RegistrarKeyFlag flag = RegistrarKeyFlag::None;
    std::wstring name;
    bool hasDefault = false;
    RegistrarValue defaultValue;
    std::vector<RegistrarValue> values; // the 'val' entries, in script order
    std::vector<RegistrarKey> subkeys;  // in script order
};

struct RegistrarBlock {
    HKEY root = nullptr;
    RegistrarKey body; // flag NoRemove and no default value: a root key is never deleted
};

struct RegistrarScript {
    std::vector<RegistrarBlock> blocks;
};

// Where and why a script was refused; for tests and for whoever debugs a script.
struct RegistrarParseError {
    size_t offset = 0; // in the script as given
    std::wstring reason;
};

// Parses the whole script. S_OK with the tree, or kMalformedRegistrarScript (E_OUTOFMEMORY
// when memory runs out) with `error` filled when one is given.
HRESULT ParseRegistrarScript(std::wstring_view script, std::span<const RegistrarReplacement> replacements,
                             RegistrarScript& result, RegistrarParseError* error = nullptr);

} // namespace quillet
