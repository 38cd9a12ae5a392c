// Runs the module's registration script: keys under HKEY_CLASSES_ROOT, nested in braces.
#pragma once
#include <windows.h>

#include <string_view>

namespace quillet {

enum class RegistrarMode { Register, Unregister };

// Quoted text in a script writes this character twice.
constexpr wchar_t kScriptQuote = L'\'';

// Returned for a script that does not parse; nothing has been written or deleted then.
constexpr HRESULT kMalformedRegistrarScript = __HRESULT_FROM_WIN32(ERROR_INVALID_DATA);

// `module` replaces %MODULE% inside quoted text, so its quotes come doubled like the script's own.
// Register creates every key and sets every value, a ForceRemove key from scratch; a part-way
// failure is rolled back by unregistering, and the failure is returned. Unregister deletes each
// key with its subtree, except NoRemove keys, of which only the named values go.
HRESULT RunRegistrarScript(std::wstring_view script, std::wstring_view module, RegistrarMode mode);

} // namespace quillet
