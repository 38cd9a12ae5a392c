// Where the sender is installed, from its App Paths registration.
#pragma once
#include <string>

namespace quillet {

// The folder with a trailing backslash, or "" when unknown.
std::wstring GetSenderDirectory();

} // namespace quillet
