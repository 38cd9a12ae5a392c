// InvokeCommand's work: whose verb it is, the list it leaves, and the sender it starts.
#include <gtest/gtest.h>
#include <shlobj.h>

#include "handoff/invoke_command.h"
#include "handoff/sender_launch.h"
#include "handoff_support.h"

namespace quillet {
namespace {

constexpr wchar_t kCaption[] = L"Send with Pelloc";

// Text on a page at a multiple of 4 GiB (bits 16 to 31 of its address zero): a verb there is a
// string, not the offset 0. The page stays reserved until the process ends.
LPCSTR HighPageText(const char* text)
{
    char* page = nullptr;
    for (UINT_PTR gib4 = 1; gib4 < 0x7F00 && !page; ++gib4)
        page = static_cast<char*>(
            VirtualAlloc(reinterpret_cast<void*>(gib4 << 32), 4096, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    return page ? lstrcpynA(page, text, 4096) : nullptr;
}

struct InvokeCommandTest : ::testing::Test {
    void SetUp() override { m_noSender.Delete(); }

    // A folder and a file of m_list selected, the folder first.
    HRESULT Invoke(const CMINVOKECOMMANDINFO* info, int recorded = 0, const wchar_t* caption = kCaption)
    {
        m_items = {{1, m_list.path() + L"\\folder"}, {0, m_list.path() + L"\\file.txt"}};
        return RunCommand(info, caption, recorded, m_items);
    }
    // newSelection false: with whatever m_items holds.
    HRESULT InvokeOffset0(bool newSelection = true)
    {
        CMINVOKECOMMANDINFO info = {};
        info.cbSize = sizeof(info);
        return newSelection ? Invoke(&info) : RunCommand(&info, kCaption, 0, m_items);
    }
    std::string ExpectedList() const
    {
        return test::Utf16Bytes(L"\xFEFF[tag]\r\ntag=1\r\n\r\n[filelist]\r\n0=" + m_list.path() +
                                L"\\file.txt\r\n\r\n[pathlist]\r\n0=" + m_list.path() + L"\\folder\r\n");
    }

    test::TempFolder m_plain{L"plain"}; // no blank: Wine would quote a sender's path with one
    // A blank in the list's name; made after m_plain, which would land in it otherwise.
    test::RedirectedTempFolder m_list{L"invoke list"};
    test::ScopedRegistryValue m_noSender{HKEY_LOCAL_MACHINE, kSenderAppPathsKey, kSenderPathValue};
    SelectedItems m_items;
};

// An accepted verb spends the selection and leaves a list of its own, the sender being missing;
// any other changes nothing. Each form once here; the fuzz test tries them in every combination.
TEST_F(InvokeCommandTest, AcceptsOffsetZeroTheRecordedOffsetAndTheCaptionInAnyLetterCase)
{
    const wchar_t accented[] = L"Envoy\u00E9 \u00E0 Pelloc";
    const LPCSTR highCaption = HighPageText("send with PELLOC"), highOther = HighPageText("Send");
    ASSERT_TRUE(highCaption && highOther);
    ASSERT_EQ(reinterpret_cast<UINT_PTR>(highOther) & 0xFFFF0000u, 0u);
    char inCodePage[64] = {};
    BOOL lossy = FALSE;
    ASSERT_GT(WideCharToMultiByte(CP_THREAD_ACP, 0, accented, -1, inCodePage, 64, nullptr, &lossy), 0);
    constexpr DWORD kShort = sizeof(CMINVOKECOMMANDINFO), kLong = sizeof(CMINVOKECOMMANDINFOEX);
    const struct { const char* form; DWORD size; LPCSTR verb; LPCWSTR wideVerb; int recorded; bool accepted;
        const wchar_t* caption = kCaption; } cases[] = {
        {"offset 0", kShort, MAKEINTRESOURCEA(0), nullptr, 0, true},
        {"offset 0, 5 recorded", kShort, MAKEINTRESOURCEA(0), nullptr, 5, true},
        {"the recorded offset", kShort, MAKEINTRESOURCEA(5), nullptr, 5, true},
        {"another offset", kShort, MAKEINTRESOURCEA(3), nullptr, 5, false},
        {"narrow text above 4 GiB", kShort, highOther, nullptr, 0, false},
        {"narrow caption above 4 GiB", kShort, highCaption, nullptr, 0, true},
        {"narrow caption", kShort, "SEND WITH pelloc", nullptr, 0, true},
        {"wide caption", kLong, "other", L"send WITH PELLOC", 0, true},
        {"wide verb an offset", kLong, "Send with Pelloc", MAKEINTRESOURCEW(3), 0, false},
        {"wide verb, structure not 104 bytes", kShort, "other", kCaption, 0, false},
        // Only a code page that can spell the caption can pass it.
        {"narrow caption in the thread's code page", kShort, inCodePage, nullptr, 0, !lossy, accented},
        {"empty narrow verb, empty caption", kShort, "", nullptr, 0, true, L""}, // converts to one character
    };
    size_t lists = 0;
    for (const auto& c : cases) {
        CMINVOKECOMMANDINFOEX info = {};
        info.cbSize = c.size;
        info.lpVerb = c.verb;
        info.lpVerbW = c.wideVerb;
        EXPECT_EQ(Invoke(reinterpret_cast<CMINVOKECOMMANDINFO*>(&info), c.recorded, c.caption),
                  c.accepted ? S_OK : E_INVALIDARG)
            << c.form;
        EXPECT_EQ(m_items.empty(), c.accepted) << c.form;
        EXPECT_EQ(test::ListFiles(m_list.path()).size(), lists += c.accepted) << c.form;
    }
    EXPECT_EQ(Invoke(nullptr), E_INVALIDARG);
    EXPECT_EQ(m_items.size(), 2u);
    for (const std::wstring& list : test::ListFiles(m_list.path()))
        EXPECT_EQ(test::ReadFileBytes(list), ExpectedList());
}

TEST_F(InvokeCommandTest, NoListWrittenIsInvalidArgAndSpendsTheSelection)
{
    ASSERT_EQ(InvokeOffset0(), S_OK);
    EXPECT_EQ(InvokeOffset0(false), E_INVALIDARG) << "again without a new selection";
    EXPECT_EQ(test::ListFiles(m_list.path()).size(), 1u);

    const test::ScopedTemp missing(m_list.path() + L"\\missing");
    EXPECT_EQ(InvokeOffset0(), E_INVALIDARG) << "no temporary folder";
    EXPECT_TRUE(m_items.empty());
}

// The sample sender stands in for Pelloc.exe, installed in folder for one command.
struct SenderLaunchTest : InvokeCommandTest {
    std::optional<test::SenderRecord> Launch(const std::wstring& folder, DWORD timeoutMs = 20000)
    {
        const test::InstalledSender sender(folder);
        EXPECT_EQ(InvokeOffset0(), S_OK);
        return test::TakeRecord(folder, timeoutMs);
    }
};

// The sender's path goes unquoted, the list's name quoted; a longer line is cut to 519
// characters, and the sender cannot open the list then.
TEST_F(SenderLaunchTest, SenderGetsItsPathAndTheQuotedListNameCutTo519Characters)
{
    ASSERT_EQ(m_plain.path.find(L' '), std::wstring::npos);
    const std::wstring longList = m_plain.Folder(std::wstring(239 - m_plain.path.size(), L't'));
    const struct { std::wstring sender, list; } cases[] = {
        {m_plain.path + L"\\sender", m_list.path()},
        {m_plain.path + L"\\" + std::wstring(239 - m_plain.path.size(), L's'), longList}, // 240 each
    };
    for (const auto& c : cases) {
        const test::ScopedTemp temp(c.list);
        const auto record = Launch(c.sender);
        ASSERT_TRUE(record) << "the sender did not start";
        const std::vector<std::wstring> lists = test::ListFiles(c.list);
        ASSERT_EQ(lists.size(), 1u);
        const std::wstring line = c.sender + L"\\Pelloc.exe /transferfilelist=\"" + lists[0] + L"\"";
        EXPECT_EQ(record->commandLine, line.substr(0, 519));
        EXPECT_EQ(record->received, line.size() > 519 ? "" : "1 file(s) and 1 folder(s)");
        EXPECT_EQ(test::ReadFileBytes(lists[0]), ExpectedList());
    }
}

// With the sender's path unquoted on its command line, a program at the path's first blank
// would run in its place: the sender is started by its full path, with the same line.
TEST_F(SenderLaunchTest, AProgramAtTheFirstBlankOfTheSendersPathIsNeverStarted)
{
    ASSERT_TRUE(CopyFileW((test::ProgramDirectory() + L"sample-sender.exe").c_str(),
                          (m_plain.path + L"\\send.exe").c_str(), FALSE));
    const std::wstring folder = m_plain.path + L"\\send er";

    const auto record = Launch(folder);

    ASSERT_TRUE(record) << "the registered sender did not start";
    const std::vector<std::wstring> lists = test::ListFiles(m_list.path());
    ASSERT_EQ(lists.size(), 1u);
    const std::wstring argument = L" /transferfilelist=\"" + lists[0] + L"\"", sender = folder + L"\\Pelloc.exe";
    // Wine quotes an unquoted program path on the way; Windows hands the line over as it was.
    EXPECT_TRUE(record->commandLine == sender + argument || record->commandLine == L"\"" + sender + L"\"" + argument)
        << testing::PrintToString(record->commandLine);
    EXPECT_FALSE(test::TakeRecord(m_plain.path, 0)) << "the planted program ran";
    EXPECT_FALSE(test::TakeRecord(folder, 500)) << "the sender was started again, through the shell";
}

// A plain start that fails is tried again through the shell from Windows Vista on, the path and
// the argument handed over apart; before Vista nothing more is tried.
TEST_F(SenderLaunchTest, RetriesThroughTheShellFromVistaOn)
{
    static int offered = 0; // plain starts asked for
    const ProcessStarter refused = [](const wchar_t*, wchar_t*) { return ++offered < 0; };
    m_noSender.SetString(m_plain.path); // registered, but no program there: nothing to start
    EXPECT_TRUE(LaunchSender(L"C:\\a list.tmp", refused) && offered == 0);
    const test::InstalledSender sender(m_list.path() + L"\\send er");
    const bool xp = test::RequestedWindowsVersion() == "winxp";

    EXPECT_FALSE(LaunchSender(nullptr, refused));
    ASSERT_TRUE(LaunchSender(L"C:\\a list.tmp", refused));

    const auto record = test::TakeRecord(sender.folder, xp ? 1000 : 20000);
    ASSERT_EQ(record.has_value(), !xp);
    if (!xp) {
        EXPECT_EQ(test::SplitCommandLine(record->commandLine),
                  (std::vector<std::wstring>{sender.path, L"/transferfilelist=C:\\a list.tmp"}));
        EXPECT_NE(record->shown, test::kPlainStartShown) << "not through the shell";
    }
}

} // namespace
} // namespace quillet
