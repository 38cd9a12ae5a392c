#include <gtest/gtest.h>

#include <cstring>

#include "menu/language_table.h"
#include "resources/resource_ids.h"

namespace quillet {
namespace {

// The table as it must stand in the module, byte for byte once written as UTF-16LE.
const std::wstring kExpectedTable = L"\xFEFF"
                                    L"[default]\r\nappname=en\r\nlanguages=en;zh-TW;ru;zh-CN;\r\n\r\n"
                                    L"[en]\r\nMENU_FS_TEXT=Transferred with Pelloc\r\n\r\n"
                                    L"[zh-CN]\r\nMENU_FS_TEXT=以Pelloc 传输\r\n\r\n"
                                    L"[zh-TW]\r\nMENU_FS_TEXT=以Pelloc 傳輸\r\n\r\n"
                                    L"[ru]\r\nMENU_FS_TEXT=Transferred with Pelloc\r\n\r\n"
                                    L"[fr]\r\nMENU_FS_TEXT=Transfert effectué avec Pelloc\r\n\r\n"
                                    L"[de]\r\nMENU_FS_TEXT=Mit Pelloc übertragen\r\n\r\n"
                                    L"[it]\r\nMENU_FS_TEXT=Trasferito tramite Pelloc\r\n\r\n"
                                    L"[ja]\r\nMENU_FS_TEXT=Pellocを使って転送\r\n\r\n"
                                    L"[pt]\r\nMENU_FS_TEXT=Transferido com o Pelloc\r\n\r\n"
                                    L"[es]\r\nMENU_FS_TEXT=Transferido con Pelloc\r\n\r\n"
                                    L"[tr]\r\nMENU_FS_TEXT=Pelloc ile transfer edildi\r\n\r\n"
                                    L"[vi]\r\nMENU_FS_TEXT=Đã chuyển với Pelloc\r\n\r\n"
                                    L"[ru]\r\nMENU_FS_TEXT=Переданы с помощью Pelloc";

std::string ResourceBytes(LPCWSTR type, UINT id)
{
    HMODULE module = GetModuleHandleW(nullptr);
    HRSRC info = FindResourceW(module, MAKEINTRESOURCEW(id), type);
    if (!info)
        return {};
    const auto* data = static_cast<const char*>(LockResource(LoadResource(module, info)));
    return std::string(data, SizeofResource(module, info));
}

TEST(LanguageTable, EmbeddedBytesAreExactlyTheTable)
{
    const std::string expected(reinterpret_cast<const char*>(kExpectedTable.data()),
                               kExpectedTable.size() * sizeof(wchar_t));
    const std::string actual = ResourceBytes(L"FILE", IDR_LANGUAGE_TABLE);
    ASSERT_EQ(actual.size(), expected.size());
    EXPECT_TRUE(actual == expected) << "the embedded table differs from the caption table";
}

TEST(LanguageTable, LoadsTheEmbeddedTableWithTheLastRussianCaption)
{
    LanguageTable table;
    LoadLanguageTable(GetModuleHandleW(nullptr), L"FILE", IDR_LANGUAGE_TABLE, table);
    EXPECT_EQ(table.size(), 13u); // "ru" twice, no section for the empty lines
    EXPECT_EQ(GetValue(table, L"default", L"languages", L"?"), L"en;zh-TW;ru;zh-CN;");
    EXPECT_EQ(GetValue(table, L"en", L"MENU_FS_TEXT", L""), L"Transferred with Pelloc"); // no CR left over
    EXPECT_EQ(GetValue(table, L"ru", L"MENU_FS_TEXT", L""), L"Переданы с помощью Pelloc");
    EXPECT_EQ(GetValue(table, L"vi", L"MENU_FS_TEXT", L""), L"Đã chuyển với Pelloc");
    EXPECT_EQ(table.count(L""), 0u);
}

TEST(LanguageTable, MissingResourceLeavesTheTableEmpty)
{
    LanguageTable table;
    LoadLanguageTable(GetModuleHandleW(nullptr), L"FILE", 9999, table);
    LoadLanguageTable(GetModuleHandleW(nullptr), L"NOTFILE", IDR_LANGUAGE_TABLE, table);
    EXPECT_TRUE(table.empty());
}

TEST(LanguageTable, LineRules)
{
    LanguageTable table;
    ParseLanguageTable(L"early=before any section\n"
                       L"[one]trailing text\r\n"
                       L"  key = value \t\r\n"
                       L"equation=a=b\n"
                       L" [not a section]=x\n"
                       L"[unclosed\n"
                       L"no equals sign\n"
                       L"\n"
                       L"key=first\n"
                       L"[two]\n"
                       L"[one]\n"
                       L"key=second\n"
                       L"last=kept as is  ",
                       table);
    EXPECT_EQ(GetValue(table, L"", L"early", L""), L"before any section");
    EXPECT_EQ(GetValue(table, L"one", L"  key ", L""), L" value"); // not trimmed at the front
    EXPECT_EQ(GetValue(table, L"one", L"equation", L""), L"a=b");
    EXPECT_EQ(GetValue(table, L"one", L" [not a section]", L""), L"x");
    EXPECT_EQ(GetValue(table, L"one", L"key", L""), L"second"); // a later value wins, across sections
    EXPECT_EQ(GetValue(table, L"one", L"last", L""), L"kept as is  ");
    EXPECT_EQ(table.size(), 2u); // "", "one"; "[two]" opened a section that got no value
    EXPECT_EQ(table.at(L"one").size(), 5u);
}

TEST(LanguageTable, SplitAndTrim)
{
    using Pieces = std::vector<std::wstring>;
    EXPECT_EQ(SplitAndTrim(L"en;zh-TW;ru;zh-CN;", L';'), (Pieces{L"en", L"zh-TW", L"ru", L"zh-CN"}));
    EXPECT_EQ(SplitAndTrim(L"a;;b", L';'), (Pieces{L"a", L"", L"b"}));
    EXPECT_EQ(SplitAndTrim(L" a \t\r\n; b ", L';'), (Pieces{L" a", L" b "}));
    EXPECT_EQ(SplitAndTrim(L"line one\r\nline two\r\n", L'\n'), (Pieces{L"line one", L"line two"}));
    EXPECT_EQ(SplitAndTrim(L" \r;", L';'), (Pieces{L""}));
    EXPECT_TRUE(SplitAndTrim(L"", L';').empty());
}

} // namespace
} // namespace quillet
