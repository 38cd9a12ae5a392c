#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "menu/caption.h"
#include "menu_test_support.h"

// While set, allocations in this program throw as when memory runs out: the module's code linked
// in here allocates through this replacement of the runtime's operator new.
bool g_failAllocations = false;
void* operator new(std::size_t size)
{
    if (void* block = g_failAllocations ? nullptr : std::malloc(size ? size : 1))
        return block;
    throw std::bad_alloc();
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }

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
        {"zh-CN", L"以Pelloc 传输"}, {"zh-TW", L"以Pelloc 傳輸"},
        {"en", kEnglish}, {"ja", kEnglish}, // "ja" has a section, but is not allowed
        {"fr", kEnglish}, {"EN", kEnglish}, // names compare case-sensitively
        {"", kEnglish}, {std::nullopt, kEnglish},
    };
    // One after the other in one process: every new handler reads the language again.
    for (const auto& c : cases) {
        test::FakeSender sender(true, c.language);
        EXPECT_EQ(NewCaption(), c.caption) << c.language.value_or("no config.ini");
    }
    test::FakeSender longest(true, std::string(1000, 'x'));
    EXPECT_EQ(ReadSenderLanguage(), std::wstring(999, L'x')) << "the language's buffer";
    test::FakeSender unregistered(true, "ru", false);
    EXPECT_EQ(NewCaption(), kEnglish) << "no sender folder";
}

// The choice on tables other than the module's: the fallbacks.
TEST(MenuCaption, FallsBackToTheTablesLanguageThenToTheStringResource)
{
    const std::wstring cut(63, L'x'); // table captions are cut after 63 characters
    const struct { const wchar_t *languages, *appname, *wanted; std::wstring caption; } cases[] = {
        {L"en;de;it;", L"en", L"it", cut}, {L"en;de;it;", L"it", L"ru", cut},
        {L"en;de;it;", L"en", L"de", L"English"}, // an empty caption falls through
        {L"de;it", L"en", L"de", L"File Transfer"}, // the table's language is not allowed
        {L"en;de", L"de", L"de", L"File Transfer"}, // allowed, but its caption is empty
        {L"", L"en", L"en", L"File Transfer"},
    };
    for (const auto& c : cases) {
        const LanguageTable table = {
            {L"default", {{L"appname", c.appname}, {L"languages", c.languages}}},
            {L"en", {{L"MENU_FS_TEXT", L"English"}}}, {L"de", {{L"MENU_FS_TEXT", L""}}},
            {L"it", {{L"MENU_FS_TEXT", std::wstring(80, L'x')}}},
        };
        wchar_t caption[kCaptionLength];
        wmemset(caption, L'#', kCaptionLength); // what a new handler's memory may hold
        ChooseCaption(table, c.wanted, GetModuleHandleW(nullptr), caption);
        EXPECT_EQ(std::wstring(caption), c.caption) << c.languages << " / " << c.appname << " / " << c.wanted;
    }
}

// A new handler never fails over its caption: running out of memory gives the plain one.
TEST(MenuCaption, RunningOutOfMemoryGivesTheStringResource)
{
    const MenuResources resources = test::TestResources();
    wchar_t caption[kCaptionLength] = L"#";
    g_failAllocations = true;
    ChooseMenuCaption(resources, caption);
    g_failAllocations = false;
    EXPECT_EQ(std::wstring(caption), L"File Transfer");
}

} // namespace
} // namespace quillet
