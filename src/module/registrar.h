// Runs a registration script: a brace-nested list of keys and values under a root key.
#pragma once
#include <windows.h>

#include <span>
#include <string>
#include <string_view>

namespace quillet {

struct RegistrarReplacement {
    std::wstring name;  // matched without regard to case: %MODULE% finds "Module"
    std::wstring value;
};

// Register mode creates every key and sets every value; a part-way failure is rolled back
// by running the same script in unregister mode, and the failure is returned.
// Unregister mode deletes what the script creates, except keys marked NoRemove.
// A malformed script gives a failure HRESULT, never a crash.
HRESULT RunRegistrarScript(std::wstring_view script, std::span<const RegistrarReplacement> replacements,
                           bool registerMode);

} // namespace quillet
