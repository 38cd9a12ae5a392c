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

std::wstring SwapEnvironmentVariable(const wchar_t* name, const std::wstring& value)
{
    wchar_t old[MAX_PATH] = {};
    GetEnvironmentVariableW(name, old, MAX_PATH);
    SetEnvironmentVariableW(name, value.empty() ? nullptr : value.c_str());
    return old;
}

} // namespace quillet::test
