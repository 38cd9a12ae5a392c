// Operating-system tests.
#pragma once
#include <windows.h>

namespace quillet {

// Whether the machine runs a 64-bit Windows; computed once per process.
bool IsNativeOs64Bit();
// Version 5.1 exactly.
bool IsWindowsXP();
// Major version 6 or more.
bool IsVistaOrLater();

} // namespace quillet
