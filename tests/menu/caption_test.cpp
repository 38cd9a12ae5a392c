#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "menu/caption.h"
#include "menu_test_support.h"
#include "resources/resource_ids.h"

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

// The caption chosen with the sender's "config.ini" asking for `language`.
std::wstring CaptionFor(std::optional<std::string> language)
{
    test::FakeSender sender(true, std::move(language));
    return NewCaption();
}

TEST(MenuCaption, FollowsTheSendersLanguageAmongTheAllowedOnes)
{
    EXPECT_EQ(CaptionFor("ru"), L"Переданы с помощью Pelloc"); // the second "ru" section
    EXPECT_EQ(CaptionFor("zh-CN"), L"以Pelloc 传输");
    EXPECT_EQ(CaptionFor("zh-TW"), L"以Pelloc 傳輸");
    EXPECT_EQ(CaptionFor("en"), kEnglish);
}

TEST(MenuCaption, OtherLanguagesAndMissingSettingsGiveEnglish)
{
    EXPECT_EQ(CaptionFor("ja"), kEnglish); // has a section, but is not allowed
    EXPECT_EQ(CaptionFor("EN"), kEnglish); // names compare case-sensitively
    EXPECT_EQ(CaptionFor("fr"), kEnglish);
    EXPECT_EQ(CaptionFor(std::nullopt), kEnglish); // no config.ini
    EXPECT_EQ(CaptionFor(""), kEnglish);
}

TEST(MenuCaption, UnknownSenderFolderGivesEnglish)
{
    test::ScopedRegistryValue path(HKEY_LOCAL_MACHINE, kSenderAppPathsKey, kSenderPathValue);
    path.Delete();
    EXPECT_EQ(NewCaption(), kEnglish);
}

TEST(MenuCaption, EveryNewHandlerReadsTheLanguageAgain)
{
    test::FakeSender sender(true, "zh-CN");
    const std::wstring config = GetSenderDirectory() + L"config.ini";
    EXPECT_EQ(NewCaption(), L"以Pelloc 传输");
    ASSERT_TRUE(WritePrivateProfileStringW(L"UI", L"language", L"ru", config.c_str()));
    EXPECT_EQ(NewCaption(), L"Переданы с помощью Pelloc");
}

TEST(MenuCaption, HandlersOnManyThreadsShareOneTableParsedFromTheModule)
{
    LanguageTable fresh;
    LoadLanguageTable(GetModuleHandleW(nullptr), L"FILE", IDR_LANGUAGE_TABLE, fresh);
    test::FakeSender sender(true, "ru");

    constexpr size_t kThreads = 4;
    const LanguageTable* tables[kThreads] = {};
    std::wstring captions[kThreads];
    std::vector<std::thread> threads;
    for (size_t i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
            tables[i] = &SharedLanguageTable(test::TestResources());
            captions[i] = NewCaption();
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(SharedLanguageTable(test::TestResources()), fresh);
    for (size_t i = 0; i < kThreads; ++i) {
        EXPECT_EQ(tables[i], &SharedLanguageTable(test::TestResources()));
        EXPECT_EQ(captions[i], L"Переданы с помощью Pelloc");
    }
}

// The choice itself, on tables other than the embedded one.
class CaptionChoice : public testing::Test {
protected:
    std::wstring Choose(const LanguageTable& table, const std::wstring& wanted)
    {
        wchar_t caption[kCaptionLength];
        wmemset(caption, L'#', kCaptionLength);
        ChooseCaption(table, wanted, GetModuleHandleW(nullptr), caption);
        return caption;
    }
};

TEST_F(CaptionChoice, EmptyTableGivesTheStringResource)
{
    EXPECT_EQ(Choose(LanguageTable(), L"ru"), L"File Transfer");
    EXPECT_EQ(Choose(LanguageTable(), L""), L"File Transfer");
}

TEST_F(CaptionChoice, TableCaptionsAreCutAfter63Characters)
{
    const std::wstring longText(80, L'x');
    const std::wstring shortText(63, L'y');
    const LanguageTable table = {
        {L"default", {{L"appname", L"en"}, {L"languages", L"en;de;"}}},
        {L"en", {{L"MENU_FS_TEXT", longText}}},
        {L"de", {{L"MENU_FS_TEXT", shortText}}},
    };
    EXPECT_EQ(Choose(table, L"en"), longText.substr(0, 63));
    EXPECT_EQ(Choose(table, L"ru"), longText.substr(0, 63)); // through the application's language
    EXPECT_EQ(Choose(table, L"de"), shortText);
}

TEST_F(CaptionChoice, EmptyCaptionsFallThrough)
{
    LanguageTable table = {
        {L"default", {{L"appname", L"en"}, {L"languages", L"en;de"}}},
        {L"en", {{L"MENU_FS_TEXT", L"English"}}},
        {L"de", {{L"MENU_FS_TEXT", L""}}},
    };
    EXPECT_EQ(Choose(table, L"de"), L"English");
    table[L"default"][L"languages"] = L"de;fr;";
    EXPECT_EQ(Choose(table, L"de"), L"File Transfer"); // the application's language is not allowed
    table[L"default"][L"appname"] = L"fr";
    EXPECT_EQ(Choose(table, L"de"), L"File Transfer"); // allowed, but has no caption
}

} // namespace
} // namespace quillet
