// Right-click to sender through the registry, as Explorer would do it: regsvr32, the
// Explorer-like host, the menu, the command, and what the stand-in sender received.
#include <gtest/gtest.h>

#include <string>

#include "handoff/handoff_support.h"
#include "support/environment.h"
#include "support/module_library.h"
#include "support/process.h"

namespace quillet::test {
namespace {

struct EndToEnd : testing::Test {
    static void SetUpTestSuite() { ASSERT_EQ(RunRegsvr32(ModulePath(), false), 0u); }
    static void TearDownTestSuite() { RunRegsvr32(ModulePath(), true); }
    void SetUp() override { CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }
    void TearDown() override { CoUninitialize(); }

    static ProcessResult Host(const std::wstring& arguments)
    {
        return RunProcess(L"\"" + ProgramDirectory() + L"shellhost.exe\" " + arguments);
    }
    std::string SenderReport() { return TakeReport(sender.folder).value_or("<the sender never reported>"); }

    const TempFolder home{L"sender home"}, items{L"items"};
    const InstalledSender sender{home.path + L"\\sender"};
};

// One selection of every kind, from two folders, chosen by the caption in other letter case.
TEST_F(EndToEnd, FilesFoldersShortcutsAndNonLatinNamesFromTwoFoldersReachTheSenderByCaption)
{
    const std::wstring first = items.File(L"report.txt");
    items.Folder(L"other");
    const std::wstring files[] = {first, items.File(L"with space.txt"),
                                  items.File(L"\x041f\x0440\x0438\x0432\x0435\x0442.txt"),
                                  items.Shortcut(L"report.lnk", first), items.File(L"other\\second.txt")};
    const std::wstring folder = items.Folder(L"\x6587\x4ef6\x5939");
    std::wstring arguments = L"--verb \"TRANSFERRED WITH PELLOC\" \"" + folder + L"\"";
    for (const std::wstring& file : files)
        arguments += L" \"" + file + L"\"";
    const ProcessResult host = Host(arguments);
    ASSERT_EQ(host.exitCode, 0u) << host.output;
    EXPECT_NE(host.output.find("Transferred with Pelloc  [icon 16x16]"), std::string::npos) << host.output;
    EXPECT_NE(host.output.find("commands: 1"), std::string::npos) << host.output;

    const std::string received = SenderReport();
    EXPECT_NE(received.find("received 5 file(s) and 1 folder(s)"), std::string::npos) << received;
    for (const std::wstring& file : files)
        EXPECT_NE(received.find("file:   " + Utf8(file) + "\n"), std::string::npos) << Utf8(file) << "\n" << received;
    EXPECT_NE(received.find("folder: " + Utf8(folder) + "\n"), std::string::npos) << received;
    EXPECT_NE(received.find("/transferfilelist=\""), std::string::npos) << received;
}

// Under Wine each new file in a crowded folder costs a scan of the folder, so the test run
// prepares the 10,000 files from outside (tests/e2e/runs.cmake).
TEST_F(EndToEnd, TenThousandFilesArriveInOneList)
{
    wchar_t many[MAX_PATH] = {};
    ASSERT_GT(GetEnvironmentVariableW(L"QUILLET_MANY_FILES", many, MAX_PATH), 0u) << "run through ctest";
    const ProcessResult host = Host(L"--invoke 0 --all-in \"" + std::wstring(many) + L"\"");
    EXPECT_EQ(host.exitCode, 0u) << host.output.substr(0, 2000);
    EXPECT_NE(host.output.find("selection: 10000 item(s)"), std::string::npos) << host.output.substr(0, 2000);
    const std::string received = SenderReport();
    EXPECT_NE(received.find("received 10000 file(s) and 0 folder(s)"), std::string::npos) << received.substr(0, 2000);
    EXPECT_NE(received.find("file:   " + Utf8(many + std::wstring(L"\\file9999.dat")) + "\n"), std::string::npos);
}

} // namespace
} // namespace quillet::test
