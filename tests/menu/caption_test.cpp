#include <gtest/gtest.h>

#include "menu/caption.h"
#include "menu_test_support.h"

namespace quillet {
namespace {

const std::wstring kEnglish = L"Transferred with Pelloc";

// The caption a new handler chooses.
std::wstring NewCaption()
{
    wchar_t caption[kCaptionLength];
    ChooseMenuCaption(test::TestResources(), caption);
    return caption;
}

TEST(MenuCaption, FollowsTheSendersLanguageAmongTheAllowedOnes)
{
    // The language in config.ini; nothing: no config.ini.
    const struct { std::optional<std::string> language; std::wstring caption; } cases[] = {
        {"ru", L"Переданы с помощью Pelloc"}, // the table's second "ru" section
        {"zh-CN", L"以Pelloc 传输"},
        {"zh-TW", L"以Pelloc 傳輸"},
        {"en", kEnglish},
        {"ja", kEnglish}, // has a section, but is not allowed
        {"fr", kEnglish},
        {"EN", kEnglish}, // names compare case-sensitively
        {"", kEnglish},
        {std::nullopt, kEnglish},
    };
    // One after the other in one process: every new handler reads the language again.
    for (const auto& c : cases) {
        test::FakeSender sender(true, c.language);
        EXPECT_EQ(NewCaption(), c.caption) << c.language.value_or("no config.ini");
    }
    test::FakeSender unregistered(true, "ru", false);
    EXPECT_EQ(NewCaption(), kEnglish) << "no sender folder";
}

// The choice on tables other than the module's: the fallbacks.
TEST(MenuCaption, FallsBackToTheTablesLanguageThenToTheStringResource)
{
    const std::wstring cut(63, L'x'); // table captions are cut after 63 characters
    const struct { const wchar_t *languages, *appname, *wanted; std::wstring caption; } cases[] = {
        {L"en;de;it;", L"en", L"it", cut},
        {L"en;de;it;", L"it", L"ru", cut},
        {L"en;de;it;", L"en", L"de", L"English"}, // an empty caption falls through
        {L"de;it", L"en", L"de", L"File Transfer"}, // the table's language is not allowed
        {L"en;de", L"de", L"de", L"File Transfer"}, // allowed, but its caption is empty
        {L"", L"en", L"en", L"File Transfer"},
    };
    for (const auto& c : cases) {
        const LanguageTable table = {
            {L"default", {{L"appname", c.appname}, {L"languages", c.languages}}},
            {L"en", {{L"MENU_FS_TEXT", L"English"}}},
            {L"de", {{L"MENU_FS_TEXT", L""}}},
            {L"it", {{L"MENU_FS_TEXT", std::wstring(80, L'x')}}},
        };
        wchar_t caption[kCaptionLength];
        wmemset(caption, L'#', kCaptionLength); // what a new handler's memory may hold
        ChooseCaption(table, c.wanted, GetModuleHandleW(nullptr), caption);
        EXPECT_EQ(std::wstring(caption), c.caption) << c.languages << " / " << c.appname << " / " << c.wanted;
    }
}

} // namespace
} // namespace quillet
