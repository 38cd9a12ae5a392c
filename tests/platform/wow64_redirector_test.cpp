#include <gtest/gtest.h>

#include <memory>

#include "platform/wow64_redirector.h"

namespace quillet {

// A 64-bit process has no redirection to turn off: Wine answers both calls with
// ERROR_INVALID_FUNCTION (64-bit Windows is said to as well; not seen here), which is how a
// test sees that the scope asked for them.
TEST(Wow64Redirector, AsksWindowsToTurnRedirectionOffAndBackOn)
{
    SetLastError(ERROR_SUCCESS);
    auto scope = std::make_unique<CWow64FsRedirector>();
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_FUNCTION)) << "off";
    SetLastError(ERROR_SUCCESS);
    scope.reset();
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_FUNCTION)) << "back on";
}

} // namespace quillet
