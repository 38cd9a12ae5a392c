// The start routines on their own, with the sample sender as the program started. What the
// launch passes them is seen through RunCommand (invoke_command_test.cpp).
#include <gtest/gtest.h>

#include "handoff/sender_launch.h"
#include "handoff_support.h"

namespace quillet {
namespace {

struct StartRoutinesTest : ::testing::Test {
    test::TempFolder m_temp{L"start"};
    const std::wstring m_folder = m_temp.path + L"\\send er"; // the shell must keep the path one argument
    const test::InstalledSender m_sender{m_folder};
};

// Plain: "file" parameters, in directory. Elevated from Windows Vista on: through the shell, the
// path and the parameters handed over apart. Either way waited for, its exit code reported (the
// sender's 2: no list named, 3: a list it cannot read).
TEST_F(StartRoutinesTest, RunProgramWaitsAndReportsTheExitCode)
{
    const std::wstring quoted = L"\"" + m_sender.path + L"\"";
    // The command line the sender got: line exactly, or when that is empty, arguments as split.
    const struct { bool elevate; const wchar_t* parameters; DWORD exitCode; std::wstring line;
        std::vector<std::wstring> arguments; } cases[] = {
        {false, L"one \"two three\"", 2, quoted + L" one \"two three\"", {}}, {false, nullptr, 2, quoted, {}},
        {true, L"/transferfilelist=\"C:\\a b.tmp\"", 3, L"", {m_sender.path, L"/transferfilelist=C:\\a b.tmp"}},
    };
    for (const auto& c : cases) {
        DWORD code = 0;
        ASSERT_TRUE(RunProgram(nullptr, m_sender.path.c_str(), c.parameters, m_temp.path.c_str(), INFINITE, &code,
                               c.elevate));
        EXPECT_EQ(code, c.exitCode);
        const auto record = test::TakeRecord(m_folder, 0);
        ASSERT_TRUE(record) << "not waited for";
        if (c.line.empty())
            EXPECT_EQ(test::SplitCommandLine(record->commandLine), c.arguments);
        else
            EXPECT_EQ(record->commandLine, c.line);
        EXPECT_EQ(record->currentDirectory, m_temp.path);
        EXPECT_EQ(record->shown == test::kPlainStartShown, !c.elevate) << record->shown;
    }
    EXPECT_TRUE(RunProgram(nullptr, m_sender.path.c_str(), nullptr, nullptr, INFINITE, nullptr, false));
    EXPECT_TRUE(test::TakeRecord(m_folder, 0));
    EXPECT_FALSE(RunProgram(nullptr, nullptr, nullptr, nullptr, 0, nullptr, false)) << "no program";
    for (const bool elevate : {false, true})
        EXPECT_FALSE(RunProgram(nullptr, (m_folder + L"\\missing.exe").c_str(), nullptr, nullptr, 0, nullptr, elevate));
}

} // namespace
} // namespace quillet
