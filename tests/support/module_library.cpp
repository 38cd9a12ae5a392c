#include "support/module_library.h"

#include "support/process.h"

namespace quillet::test {

DWORD RunRegsvr32(const std::wstring& modulePath, bool unregister)
{
    return RunProcess(std::wstring(L"regsvr32.exe /s ") + (unregister ? L"/u \"" : L"\"") + modulePath + L"\"", 60000)
        .exitCode;
}

} // namespace quillet::test
