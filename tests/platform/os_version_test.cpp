#include <gtest/gtest.h>

#include "platform/os_version.h"
#include "support/environment.h"

namespace quillet {
namespace {

// The runner names the version it asked Wine for; the default prefix reports Windows 7.
TEST(OsVersion, AnswersForTheVersionTheSystemReports)
{
    const std::string requested = test::RequestedWindowsVersion();
    if (requested == "winxp") {
        EXPECT_TRUE(IsWindowsXP());
        EXPECT_FALSE(IsVistaOrLater());
    } else if (requested == "winxp64") { // 5.2: neither XP nor Vista
        EXPECT_FALSE(IsWindowsXP());
        EXPECT_FALSE(IsVistaOrLater());
    } else if (requested == "vista" || requested.empty() || requested == "win10") {
        EXPECT_FALSE(IsWindowsXP());
        EXPECT_TRUE(IsVistaOrLater());
    } else {
        GTEST_SKIP() << "no expectation for " << requested;
    }
}

TEST(OsVersion, NativeSixtyFourBitIsCachedAndStable)
{
    EXPECT_TRUE(IsNativeOs64Bit());
    EXPECT_TRUE(IsNativeOs64Bit());
}

} // namespace
} // namespace quillet
