// What a test program was run as, and where its files are.
#pragma once
#include <string>

#include "common/files.h"

namespace quillet::test {

// The Windows version name the runner asked Wine for ("winxp", ...), or "" for the default.
std::string RequestedWindowsVersion();
// The display DPI the runner set, or 0 when it set none.
int RequestedDpi();

} // namespace quillet::test
