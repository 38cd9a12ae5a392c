// The transfer list, byte for byte, and the name it is written under.
#include <gtest/gtest.h>

#include <cwctype>

#include "handoff/transfer_list.h"
#include "handoff_support.h"
#include "support/environment.h"

namespace quillet {
namespace {

const std::wstring kHeader = L"\xFEFF[tag]\r\ntag=1\r\n\r\n[filelist]\r\n";

struct ListCase {
    const char* name;
    SelectedItems items;
    std::wstring expected; // the whole file as UTF-16 code units
};

std::vector<ListCase> Cases()
{
    SelectedItems twelve;
    std::wstring twelveLines;
    for (int i = 0; i < 12; ++i) {
        twelve.push_back({0, L"C:\\f" + std::to_wstring(i)});
        twelveLines += std::to_wstring(i) + L"=C:\\f" + std::to_wstring(i) + L"\r\n";
    }
    // Several megabytes, alternating files and folders, paths up to the longest a record holds.
    SelectedItems many;
    std::wstring manyFiles;
    std::wstring manyFolders;
    for (int i = 0; i < 6000; ++i) {
        const std::wstring path = L"C:\\" + std::wstring(static_cast<size_t>(i * 37 % 1020), L'a' + i % 26);
        many.push_back({i % 2, path});
        (i % 2 ? manyFolders : manyFiles) += std::to_wstring(i / 2) + L"=" + path + L"\r\n";
    }
    return {
        {"files only",
         {{0, L"C:\\a.txt"}, {0, L"C:\\b c\\d.txt"}},
         kHeader + L"0=C:\\a.txt\r\n1=C:\\b c\\d.txt\r\n\r\n[pathlist]\r\n"},
        {"folders only",
         {{1, L"C:\\x"}, {1, L"D:"}},
         kHeader + L"\r\n[pathlist]\r\n0=C:\\x\r\n1=D:\r\n"},
        {"mixed, folder first",
         {{1, L"C:\\dir"}, {0, L"C:\\f1"}, {2, L"E:\\"}, {0, L"C:\\f2"}},
         kHeader + L"0=C:\\f1\r\n1=C:\\f2\r\n\r\n[pathlist]\r\n0=C:\\dir\r\n1=E:\\\r\n"},
        {"non-Latin path",
         {{0, L"C:\\\u6587\u6863\\\u00DCber caf\u00E9 \U0001F600.txt"}},
         kHeader + L"0=C:\\\u6587\u6863\\\u00DCber caf\u00E9 \U0001F600.txt\r\n\r\n[pathlist]\r\n"},
        {"two-digit numbers", twelve, kHeader + twelveLines + L"\r\n[pathlist]\r\n"},
        {"many entries", many, kHeader + manyFiles + L"\r\n[pathlist]\r\n" + manyFolders},
    };
}

class TransferListTest : public ::testing::Test {
protected:
    test::ScopedTempFolder m_temp{L"transfer-list"};
};

TEST_F(TransferListTest, WritesTheListByteForByte)
{
    for (ListCase& list : Cases()) {
        const std::wstring file = m_temp.Path() + L"\\list.tmp";
        SelectedItems items = list.items;

        ASSERT_TRUE(WriteTransferList(items, file.c_str())) << list.name;

        const std::string bytes = test::ReadFileBytes(file);
        EXPECT_EQ(bytes, test::Utf16Bytes(list.expected)) << list.name;
        EXPECT_EQ(bytes.substr(0, 2), "\xFF\xFE") << list.name;
        // Files moved before folders in the caller's list, each group in its first order.
        SelectedItems sorted;
        for (const bool folders : {false, true})
            for (const SelectedItem& item : list.items)
                if ((item.isFolder != 0) == folders)
                    sorted.push_back(item);
        ASSERT_EQ(items.size(), sorted.size()) << list.name;
        for (size_t i = 0; i < items.size(); ++i)
            EXPECT_EQ(items[i].path, sorted[i].path) << list.name << ", entry " << i;
    }
}

TEST_F(TransferListTest, WritesNothingWithoutItemsOrAUsableName)
{
    const std::wstring file = m_temp.Path() + L"\\list.tmp";
    SelectedItems none;
    SelectedItems some = {{0, L"C:\\a"}};

    EXPECT_FALSE(WriteTransferList(none, file.c_str()));
    EXPECT_EQ(GetFileAttributesW(file.c_str()), INVALID_FILE_ATTRIBUTES) << "file made for an empty selection";
    EXPECT_FALSE(WriteTransferList(some, nullptr));
    EXPECT_FALSE(WriteTransferList(some, L""));
    EXPECT_FALSE(WriteTransferList(some, m_temp.Path().c_str())); // a folder
    EXPECT_FALSE(WriteTransferList(some, (m_temp.Path() + L"\\missing\\list.tmp").c_str()));
}

TEST_F(TransferListTest, TempFileNameIsFreshInTheTemporaryFolder)
{
    const std::wstring name = MakeTempFileName(L"~ft");

    const std::wstring prefix = m_temp.Path() + L"\\~ft";
    ASSERT_GT(name.size(), prefix.size() + 4);
    EXPECT_EQ(name.substr(0, prefix.size()), prefix);
    EXPECT_EQ(name.substr(name.size() - 4), L".tmp");
    for (size_t i = prefix.size(); i < name.size() - 4; ++i)
        EXPECT_TRUE(std::iswxdigit(name[i])) << testing::PrintToString(name);
    EXPECT_EQ(GetFileAttributesW(name.c_str()), INVALID_FILE_ATTRIBUTES) << "the reserved file was left";
}

} // namespace
} // namespace quillet
