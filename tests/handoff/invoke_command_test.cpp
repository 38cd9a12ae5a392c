// InvokeCommand's work: whose verb it is, what is written, and how the sender is started.
#include <gtest/gtest.h>
#include <shlobj.h>

#include <optional>

#include "handoff/invoke_command.h"
#include "handoff_support.h"
#include "support/environment.h"

namespace quillet {
namespace {

class InvokeCommandTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_FALSE(m_temp.Path().empty());
        m_file = m_temp.Path() + L"\\file.txt";
        m_folder = m_temp.Path() + L"\\folder";
        m_items = {{1, m_folder}, {0, m_file}};
    }

    HRESULT Invoke(const CMINVOKECOMMANDINFO* info) { return RunCommand(info, m_caption, m_recorded, m_items); }
    std::wstring ExpectedList() const
    {
        return L"\xFEFF[tag]\r\ntag=1\r\n\r\n[filelist]\r\n0=" + m_file + L"\r\n\r\n[pathlist]\r\n0=" + m_folder +
               L"\r\n";
    }

    HRESULT InvokeOffset(UINT offset)
    {
        CMINVOKECOMMANDINFO info = {};
        info.cbSize = sizeof(info);
        info.lpVerb = MAKEINTRESOURCEA(offset);
        return Invoke(&info);
    }

    // Whether a call took the selection and wrote a list, or left both alone.
    void ExpectAccepted(HRESULT hr, bool accepted, const std::string& what)
    {
        const size_t lists = m_temp.ListFiles().size();
        if (accepted) {
            EXPECT_EQ(hr, S_OK) << what;
            EXPECT_TRUE(m_items.empty()) << what;
            EXPECT_EQ(lists, m_lists + 1) << what;
        } else {
            EXPECT_EQ(hr, E_INVALIDARG) << what;
            EXPECT_EQ(m_items.size(), 2u) << what;
            EXPECT_EQ(lists, m_lists) << what;
        }
        m_lists = lists;
        m_items = {{1, m_folder}, {0, m_file}};
    }

    test::ScopedTempFolder m_temp{L"invoke list"};
    test::NoSenderRegistered m_noSender;
    const wchar_t* m_caption = L"Send with Pelloc";
    int m_recorded = 0;
    SelectedItems m_items;
    std::wstring m_file;
    std::wstring m_folder;
    size_t m_lists = 0;
};

TEST_F(InvokeCommandTest, AcceptsOffsetZeroOrTheRecordedOne)
{
    struct {
        int recorded;
        UINT offset;
        bool accepted;
    } const cases[] = {{0, 0, true}, {5, 0, true}, {5, 5, true}, {5, 3, false}, {0, 1, false}, {0, 0xFFFF, false}};
    for (const auto& c : cases) {
        m_recorded = c.recorded;
        ExpectAccepted(InvokeOffset(c.offset), c.accepted,
                       "offset " + std::to_string(c.offset) + " with " + std::to_string(c.recorded) + " recorded");
    }
}

TEST_F(InvokeCommandTest, AcceptsTheCaptionInAnyLetterCase)
{
    CMINVOKECOMMANDINFO narrow = {};
    narrow.cbSize = sizeof(narrow);
    narrow.lpVerb = "SEND WITH pelloc";
    ExpectAccepted(Invoke(&narrow), true, "narrow caption");
    narrow.lpVerb = "Send with Pello";
    ExpectAccepted(Invoke(&narrow), false, "narrow other text");

    // The extended structure's size alone says that lpVerbW is the verb.
    CMINVOKECOMMANDINFOEX wide = {};
    wide.cbSize = sizeof(wide);
    wide.lpVerb = "other";
    wide.lpVerbW = L"send WITH PELLOC";
    ExpectAccepted(Invoke(reinterpret_cast<CMINVOKECOMMANDINFO*>(&wide)), true, "wide caption");
    wide.lpVerb = "Send with Pelloc";
    wide.lpVerbW = nullptr;
    ExpectAccepted(Invoke(reinterpret_cast<CMINVOKECOMMANDINFO*>(&wide)), false, "null wide verb");
    wide.cbSize = sizeof(CMINVOKECOMMANDINFO);
    wide.lpVerb = "other";
    wide.lpVerbW = m_caption;
    ExpectAccepted(Invoke(reinterpret_cast<CMINVOKECOMMANDINFO*>(&wide)), false,
                   "wide verb in the short structure");

    // A narrow verb is read in the thread's code page.
    const wchar_t accented[] = L"Envoy\u00E9 \u00E0 Pelloc";
    char inCodePage[64] = {};
    BOOL lossy = FALSE;
    ASSERT_GT(WideCharToMultiByte(CP_THREAD_ACP, 0, accented, -1, inCodePage, 64, nullptr, &lossy), 0);
    if (lossy)
        return; // the thread's code page cannot spell it
    m_caption = accented;
    narrow.lpVerb = inCodePage;
    ExpectAccepted(Invoke(&narrow), true, "caption in the thread code page");
}

TEST_F(InvokeCommandTest, NullInfoIsRejected)
{
    EXPECT_EQ(Invoke(nullptr), E_INVALIDARG);
    EXPECT_EQ(m_items.size(), 2u);
}

TEST_F(InvokeCommandTest, WithoutASenderTheListIsLeftBehindAndTheSelectionSpent)
{
    ASSERT_EQ(InvokeOffset(0), S_OK);

    const std::vector<std::wstring> lists = m_temp.ListFiles();
    ASSERT_EQ(lists.size(), 1u);
    EXPECT_EQ(test::ReadFileBytes(lists[0]), test::Utf16Bytes(ExpectedList()));
    EXPECT_TRUE(m_items.empty());

    EXPECT_EQ(InvokeOffset(0), E_INVALIDARG) << "second call without a new selection";
    EXPECT_EQ(m_temp.ListFiles().size(), 1u);
}

TEST_F(InvokeCommandTest, ListThatCannotBeWrittenFailsAndSpendsTheSelection)
{
    const std::wstring missing = m_temp.Path() + L"\\missing";
    test::ScopedEnvironmentVariable tmp(L"TMP", missing);
    test::ScopedEnvironmentVariable temp(L"TEMP", missing);

    EXPECT_EQ(InvokeOffset(0), E_INVALIDARG);
    EXPECT_TRUE(m_items.empty());
}

// The recording sender stands in for Pelloc.exe, in a folder whose name has a space, and the
// list lands in a temporary folder whose name has one too.
class SenderLaunchTest : public InvokeCommandTest {
protected:
    void SetUp() override
    {
        InvokeCommandTest::SetUp();
        m_sender.emplace(m_temp.Path());
        ASSERT_TRUE(m_sender->Installed());
        m_records = m_sender->Records();
    }

    // Checks what the sender was given: one argument naming the only list, and that list.
    void ExpectSenderGotTheList(const test::SenderRecord& record)
    {
        const std::vector<std::wstring> lists = m_temp.ListFiles();
        ASSERT_EQ(lists.size(), 1u);
        const std::wstring argument = L"/transferfilelist=\"" + lists[0] + L"\"";
        ASSERT_GE(record.commandLine.size(), argument.size());
        EXPECT_EQ(record.commandLine.substr(record.commandLine.size() - argument.size() - 1), L" " + argument);
        const std::vector<std::wstring> arguments = test::SplitCommandLine(record.commandLine);
        ASSERT_FALSE(arguments.empty());
        EXPECT_EQ(arguments.back(), L"/transferfilelist=" + lists[0]);
        EXPECT_EQ(record.transferList, test::Utf16Bytes(ExpectedList()));
    }

    std::wstring m_records;
    std::optional<test::InstalledSender> m_sender;
};

TEST_F(SenderLaunchTest, StartsTheSenderWithTheQuotedListName)
{
    ASSERT_NE(m_temp.Path().find(L' '), std::wstring::npos);

    ASSERT_EQ(InvokeOffset(0), S_OK);

    const auto record = test::WaitForSenderRecord(m_records);
    ASSERT_TRUE(record) << "the sender did not start";
    EXPECT_NE(record->commandLine.find(m_sender->Path()), std::wstring::npos);
    ExpectSenderGotTheList(*record);
}

// With a file named like the first word of the unquoted sender path, the plain start runs
// into it and fails; from Windows Vista on the shell then starts the sender by its full path.
TEST_F(SenderLaunchTest, RetriesThroughTheShellWhenThePlainStartFails)
{
    ASSERT_TRUE(test::WriteFileBytes(m_temp.Path() + L"\\send", "not a program", 13));

    ASSERT_EQ(InvokeOffset(0), S_OK);

    if (test::RequestedWindowsVersion() == "winxp") {
        EXPECT_FALSE(test::SenderRecordAppears(m_records, 3000)) << "started although the plain start failed";
        return;
    }
    const auto record = test::WaitForSenderRecord(m_records);
    ASSERT_TRUE(record) << "the sender was not started again";
    ExpectSenderGotTheList(*record);
}

TEST_F(SenderLaunchTest, CommandLineTooLongIsCutTo519Characters)
{
    // Near-maximal folders, the sender's without spaces (Wine would quote it on the way).
    const std::wstring base = m_temp.Path().substr(0, m_temp.Path().rfind(L'\\')) + L"\\quillet-long-" +
                              std::to_wstring(GetCurrentProcessId());
    ASSERT_EQ(base.find(L' '), std::wstring::npos);
    test::RemoveTree(base); // left by a run that was killed, under a process number used again
    ASSERT_TRUE(CreateDirectoryW(base.c_str(), nullptr));
    const struct RemoveAtEnd {
        std::wstring folder;
        ~RemoveAtEnd() { test::RemoveTree(folder); }
    } cleanup{base};
    const std::wstring senderFolder = base + L"\\" + std::wstring(240 - base.size(), L's');
    const std::wstring listFolder = base + L"\\" + std::wstring(240 - base.size(), L't');
    ASSERT_TRUE(CreateDirectoryW(senderFolder.c_str(), nullptr));
    ASSERT_TRUE(CreateDirectoryW(listFolder.c_str(), nullptr));
    test::InstalledSender sender(senderFolder, m_records);
    ASSERT_TRUE(sender.Installed());
    test::ScopedEnvironmentVariable tmp(L"TMP", listFolder);
    test::ScopedEnvironmentVariable temp(L"TEMP", listFolder);

    ASSERT_EQ(InvokeOffset(0), S_OK);

    const auto record = test::WaitForSenderRecord(m_records);
    ASSERT_TRUE(record) << "the sender did not start";
    WIN32_FIND_DATAW found = {};
    const HANDLE search = FindFirstFileW((listFolder + L"\\~ft*.tmp").c_str(), &found);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    FindClose(search);
    const std::wstring full = sender.Path() + L" /transferfilelist=\"" + listFolder + L"\\" + found.cFileName + L"\"";
    ASSERT_GT(full.size(), 519u);
    EXPECT_EQ(record->commandLine, full.substr(0, 519));
}

} // namespace
} // namespace quillet
