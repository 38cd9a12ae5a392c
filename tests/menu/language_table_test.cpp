// The module's own table is read through the captions it yields (caption_test.cpp); here the
// parser's rules on text of our own.
#include <gtest/gtest.h>

#include "menu/language_table.h"
#include "resources/resource_ids.h"

namespace quillet {
namespace {

// Tables as the resource holds them: rows without a size are read whole, without a byte-order mark.
TEST(LanguageTable, LineRules)
{
    const std::wstring padded = L"\xFEFFk=v\n" + std::wstring(500000, L' ');
    const struct { const wchar_t* text; LanguageTable table; DWORD size = 0; } cases[] = {
        {L"early=before any section", {{L"", {{L"early", L"before any section"}}}}},
        // Keys and values keep their leading blanks; lines lose their trailing ones.
        {L"[one]trailing text\r\n  key = value \t\r\n", {{L"one", {{L"  key ", L" value"}}}}},
        {L"equation=a=b\n [not a section]=x", {{L"", {{L"equation", L"a=b"}, {L" [not a section]", L"x"}}}}},
        {L"[unclosed\nno equals sign\n\nk=v", {{L"", {{L"k", L"v"}}}}},
        // A later value wins, across sections; a section without values is not kept.
        {L"[one]\nkey=first\n[two]\n[one]\nkey=second", {{L"one", {{L"key", L"second"}}}}},
        {L"last=kept as is  ", {{L"", {{L"last", L"kept as is  "}}}}},
        // 999,999 bytes are the most a table may have; its byte-order mark is not part of the text.
        {padded.c_str(), {{L"", {{L"k", L"v"}}}}, 999999}, {padded.c_str(), {}, 1000000},
    };
    for (const auto& c : cases) {
        LanguageTable table;
        ReadLanguageTable(c.text, c.size ? c.size : DWORD(wcslen(c.text) * sizeof(wchar_t)), table);
        EXPECT_EQ(table, c.table) << testing::PrintToString(std::wstring(c.text).substr(0, 60));
    }
}

TEST(LanguageTable, MissingResourceLeavesTheTableEmptyAndEveryValueItsDefault)
{
    LanguageTable table;
    LoadLanguageTable(GetModuleHandleW(nullptr), L"FILE", 9999, table);
    LoadLanguageTable(GetModuleHandleW(nullptr), L"NOTFILE", IDR_LANGUAGE_TABLE, table);
    EXPECT_TRUE(table.empty());
    EXPECT_EQ(GetValue(table, L"default", L"appname", L"en"), L"en");
}

} // namespace
} // namespace quillet
