#include <gtest/gtest.h>

#include <algorithm>

#include "platform/os_version.h"
#include "support/environment.h"
#include "support/import_patch.h"

namespace quillet {
namespace {

// The runner names the version it asked Wine for; the default prefix reports Windows 7.
TEST(OsVersion, AnswersForTheVersionTheSystemReports)
{
    struct Answers { std::string requested; bool xp, vistaOrLater; };
    const Answers cases[] = {
        {"winxp", true, false}, {"winxp64", false, false}, // 5.2: neither XP nor Vista
        {"vista", false, true}, {"", false, true}, {"win10", false, true},
    };
    const std::string requested = test::RequestedWindowsVersion();
    const auto c = std::ranges::find(cases, requested, &Answers::requested);
    if (c == std::end(cases))
        GTEST_SKIP() << "no expectation for " << requested;
    EXPECT_EQ(IsWindowsXP(), c->xp);
    EXPECT_EQ(IsVistaOrLater(), c->vistaOrLater);
    EXPECT_TRUE(IsNativeOs64Bit()) << "on every system this module loads on";
}

BOOL WINAPI NoVersion(LPOSVERSIONINFOW) { return FALSE; }
FARPROC WINAPI NoExport(HMODULE, LPCSTR) { return nullptr; }
void WINAPI X86(LPSYSTEM_INFO system) { *system = {}; } // PROCESSOR_ARCHITECTURE_INTEL is 0
FARPROC WINAPI X86Export(HMODULE, LPCSTR) { return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&X86)); }

// Each runs alone (runs.cmake): the answer is the process's, so each must be its first question.
TEST(OsVersion, DISABLED_NoVersionMeansNot64BitForTheProcess)
{
    {
        const test::ScopedImport version("kernel32.dll", "GetVersionExW", &NoVersion);
        EXPECT_FALSE(IsNativeOs64Bit());
    }
    EXPECT_FALSE(IsNativeOs64Bit()); // the failure is kept as well
}
TEST(OsVersion, DISABLED_NoNativeSystemInfoMeansNot64Bit)
{
    const test::ScopedImport lookup("kernel32.dll", "GetProcAddress", &NoExport);
    EXPECT_FALSE(IsNativeOs64Bit());
}
TEST(OsVersion, DISABLED_X86MeansNot64Bit)
{
    const test::ScopedImport lookup("kernel32.dll", "GetProcAddress", &X86Export);
    EXPECT_FALSE(IsNativeOs64Bit());
}

} // namespace
} // namespace quillet
