// The transfer list, byte for byte, and the name it is written under.
#include <gtest/gtest.h>

#include <cwctype>

#include "handoff/transfer_list.h"
#include "handoff_support.h"

namespace quillet {
namespace {

const std::wstring kHeader = L"\xFEFF[tag]\r\ntag=1\r\n\r\n[filelist]\r\n", kFolders = L"\r\n[pathlist]\r\n";

struct TransferListTest : ::testing::Test {
    test::RedirectedTempFolder m_folder{L"transfer-list"};
    const std::wstring m_file = m_folder.path() + L"\\list.tmp";
};

TEST_F(TransferListTest, WritesFilesThenFoldersEachNumberedFromZero)
{
    // Several megabytes, alternating files and folders, paths up to the longest a record holds.
    SelectedItems many;
    std::wstring manyFiles, manyFolders;
    for (int i = 0; i < 6000; ++i) {
        const std::wstring path = L"C:\\" + std::wstring(static_cast<size_t>(i * 37 % 1020), L'a' + i % 26);
        many.push_back({i % 2, path});
        (i % 2 ? manyFolders : manyFiles) += std::to_wstring(i / 2) + L"=" + path + L"\r\n";
    }
    const std::wstring nonLatin = L"C:\\\u6587\u6863\\\u00DCber caf\u00E9 \U0001F600.txt";
    const struct { const char* what; SelectedItems items; std::wstring expected; } cases[] = {
        {"files only", {{0, L"C:\\a.txt"}, {0, nonLatin}},
         kHeader + L"0=C:\\a.txt\r\n1=" + nonLatin + L"\r\n" + kFolders},
        {"folders only", {{1, L"C:\\x"}, {1, L"D:"}}, kHeader + kFolders + L"0=C:\\x\r\n1=D:\r\n"},
        {"mixed, folder first", {{1, L"C:\\dir"}, {0, L"C:\\f1"}, {2, L"E:\\"}, {0, L"C:\\f2"}},
         kHeader + L"0=C:\\f1\r\n1=C:\\f2\r\n" + kFolders + L"0=C:\\dir\r\n1=E:\\\r\n"},
        {"many", many, kHeader + manyFiles + kFolders + manyFolders},
    };
    for (const auto& c : cases) {
        SelectedItems items = c.items;
        ASSERT_TRUE(WriteTransferList(items, m_file.c_str())) << c.what;
        EXPECT_EQ(test::ReadFileBytes(m_file), test::Utf16Bytes(c.expected)) << c.what;
    }
}

TEST_F(TransferListTest, WritesNothingWithoutItemsOrAUsableName)
{
    SelectedItems none;
    EXPECT_FALSE(WriteTransferList(none, m_file.c_str()));
    EXPECT_EQ(GetFileAttributesW(m_file.c_str()), INVALID_FILE_ATTRIBUTES) << "file made for an empty selection";

    const std::wstring inMissingFolder = m_folder.path() + L"\\missing\\list.tmp";
    const wchar_t* const names[] = {nullptr, L"", m_folder.path().c_str(), inMissingFolder.c_str()};
    for (const wchar_t* name : names) {
        SelectedItems some = {{0, L"C:\\a"}};
        EXPECT_FALSE(WriteTransferList(some, name)) << testing::PrintToString(name);
    }
}

TEST_F(TransferListTest, TempFileNameIsFreshInTheTemporaryFolder)
{
    const std::wstring name = MakeTempFileName(L"~ft"), prefix = m_folder.path() + L"\\~ft";
    ASSERT_GT(name.size(), prefix.size() + 4);
    EXPECT_EQ(name.substr(0, prefix.size()), prefix);
    EXPECT_EQ(name.substr(name.size() - 4), L".tmp");
    for (size_t i = prefix.size(); i < name.size() - 4; ++i)
        EXPECT_TRUE(std::iswxdigit(name[i])) << testing::PrintToString(name);
    EXPECT_EQ(GetFileAttributesW(name.c_str()), INVALID_FILE_ATTRIBUTES) << "the reserved file was left";
}

} // namespace
} // namespace quillet
