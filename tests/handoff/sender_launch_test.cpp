// The start routines on their own, with the recording sender as the program started.
#include <gtest/gtest.h>

#include "handoff/sender_launch.h"
#include "handoff_support.h"
#include "support/environment.h"

namespace quillet {
namespace {

class StartRoutinesTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_FALSE(m_temp.Path().empty());
        m_sender.emplace(m_temp.Path());
        ASSERT_TRUE(m_sender->Installed());
        m_folder = m_sender->Folder();
        m_records = m_sender->Records();
        // Makes the unquoted path start something that is no program.
        ASSERT_TRUE(test::WriteFileBytes(m_temp.Path() + L"\\send", "not a program", 13));
    }

    const std::wstring& Sender() const { return m_sender->Path(); }

    test::ScopedTempFolder m_temp{L"start"};
    std::wstring m_folder;
    std::wstring m_records;
    std::optional<test::InstalledSender> m_sender;
};

TEST_F(StartRoutinesTest, StartProcessTakesTheLineAsItStands)
{
    std::wstring unquoted = Sender() + L" /x";
    EXPECT_FALSE(StartProcess(unquoted.data()));

    std::wstring quoted = L"\"" + Sender() + L"\" /transferfilelist=\"a b\"";
    ASSERT_TRUE(StartProcess(quoted.data()));
    const auto record = test::WaitForSenderRecord(m_records);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->commandLine, quoted);
}

TEST_F(StartRoutinesTest, PlainModeQuotesTheProgramWaitsAndReportsTheExitCode)
{
    test::ScopedEnvironmentVariable exitCode(L"QUILLET_SENDER_EXIT_CODE", L"7");
    DWORD code = 0;

    ASSERT_TRUE(RunProgram(nullptr, Sender().c_str(), L"one \"two three\"", m_records.c_str(), INFINITE, &code,
                           false));

    EXPECT_EQ(code, 7u);
    // Waited for: the record is complete already.
    auto record = test::WaitForSenderRecord(m_records, 0);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->commandLine, L"\"" + Sender() + L"\" one \"two three\"");
    EXPECT_EQ(record->currentDirectory, m_records);

    DeleteFileW((m_records + L"\\record.done").c_str());
    ASSERT_TRUE(RunProgram(nullptr, Sender().c_str(), nullptr, nullptr, INFINITE, nullptr, false));
    record = test::WaitForSenderRecord(m_records, 0);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->commandLine, L"\"" + Sender() + L"\"") << "no parameters, no blank";
    EXPECT_FALSE(RunProgram(nullptr, (m_folder + L"\\missing.exe").c_str(), nullptr, nullptr, 0, nullptr, false));
}

// From Windows Vista on the shell starts the program ("runas"); before, the plain mode runs.
TEST_F(StartRoutinesTest, ElevatedModeHandsPathAndParametersOverSeparately)
{
    test::ScopedEnvironmentVariable exitCode(L"QUILLET_SENDER_EXIT_CODE", L"3");
    DWORD code = 0;

    ASSERT_TRUE(RunProgram(nullptr, Sender().c_str(), L"/transferfilelist=\"C:\\a b.tmp\"", nullptr, INFINITE,
                           &code, true));

    EXPECT_EQ(code, 3u);
    const auto record = test::WaitForSenderRecord(m_records);
    ASSERT_TRUE(record);
    EXPECT_EQ(test::SplitCommandLine(record->commandLine),
              (std::vector<std::wstring>{Sender(), L"/transferfilelist=C:\\a b.tmp"}));
    EXPECT_FALSE(RunProgram(nullptr, (m_folder + L"\\missing.exe").c_str(), nullptr, nullptr, 0, nullptr, true));
}

TEST(LaunchSender, NeedsAListNameAndReportsSuccessWithoutASender)
{
    test::NoSenderRegistered noSender;

    EXPECT_FALSE(LaunchSender(nullptr));
    EXPECT_TRUE(LaunchSender(L"C:\\no such list.tmp"));
}

} // namespace
} // namespace quillet
