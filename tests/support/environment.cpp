#include "support/environment.h"

#include <cstdlib>

namespace quillet::test {

std::string RequestedWindowsVersion()
{
    const char* value = std::getenv("QUILLET_WINVER");
    return value ? value : "";
}

int RequestedDpi()
{
    const char* value = std::getenv("QUILLET_DPI");
    return value ? std::atoi(value) : 0;
}

} // namespace quillet::test
