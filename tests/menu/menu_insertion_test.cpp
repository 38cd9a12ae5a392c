#include <gtest/gtest.h>

#include <shlobj.h>

#include "menu/menu_insertion.h"
#include "menu_test_support.h"
#include "support/import_patch.h"

namespace quillet {
namespace {

constexpr UINT kIdCmdFirst = 0x7000;

// A popup menu holding three ordinary entries with identifiers 1, 2, 3.
struct TestMenu {
    TestMenu()
    {
        for (UINT id = 1; id <= 3; ++id)
            AppendMenuW(menu, MF_STRING, id, L"Item");
    }
    ~TestMenu() { DestroyMenu(menu); }
    HMENU get() const { return menu; }
    int count() const { return GetMenuItemCount(menu); }
    const HMENU menu = CreatePopupMenu();
};

// The runs as Windows XP and XP x64 expect the forms of systems before Vista.
const bool kOlderWindows = test::RequestedWindowsVersion() == "winxp" || test::RequestedWindowsVersion() == "winxp64";

struct QueryContextMenuTest : testing::Test {
    void SetUp() override
    {
        lstrcpyW(presentation.m_menuCaption, L"Send with Pelloc");
        option.Delete();
    }
    HRESULT Query(const TestMenu& menu, UINT flags = CMF_NORMAL) { return Query(presentation, menu.get(), flags); }
    HRESULT Query(MenuPresentation& of, HMENU menu, UINT flags = CMF_NORMAL, UINT index = 1, UINT first = kIdCmdFirst)
    {
        return InsertMenuCommand(of, test::TestResources(), lastQueried, menu, index, first, flags);
    }

    test::HandlerServices services;
    // The sender's setting, absent unless a test sets it; restored afterwards.
    test::ScopedRegistryValue option{HKEY_LOCAL_MACHINE, kSenderProfileKey, kMenuOptionValue, KEY_WOW64_32KEY};
    MenuPresentation presentation;
    std::atomic<HMENU> lastQueried{nullptr};
};

TEST_F(QueryContextMenuTest, InsertsOneItemAtTheGivenPositionInTheSystemsForm)
{
    test::FakeSender sender;
    for (const UINT flags : {UINT(CMF_NORMAL), UINT(CMF_CANRENAME)}) {
        SCOPED_TRACE(testing::Message() << "flags " << flags);
        TestMenu menu;
        MenuPresentation item;
        lstrcpyW(item.m_menuCaption, L"Send with Pelloc");
        item.m_menuItemState = 7; // every form of the item resets it
        lastQueried = nullptr;
        ASSERT_EQ(Query(item, menu.get(), flags), 1); // one identifier used

        ASSERT_EQ(menu.count(), 4);
        EXPECT_EQ(GetMenuItemID(menu.get(), 0), 1u);
        EXPECT_EQ(GetMenuItemID(menu.get(), 1), kIdCmdFirst);
        EXPECT_EQ(GetMenuItemID(menu.get(), 2), 2u);
        EXPECT_EQ(item.m_idCmdFirst, kIdCmdFirst);
        EXPECT_EQ(item.m_menuItemState, 0);
        EXPECT_EQ(lastQueried.load(), menu.get());

        MENUITEMINFOW info = {};
        info.cbSize = sizeof(info);
        info.fMask = MIIM_CHECKMARKS | MIIM_FTYPE | MIIM_DATA;
        ASSERT_TRUE(GetMenuItemInfoW(menu.get(), 1, TRUE, &info));
        EXPECT_EQ(info.hbmpChecked, nullptr);
        if (kOlderWindows && flags == CMF_CANRENAME) { // Vista and later ignore the flag
            EXPECT_NE(info.fType & MFT_OWNERDRAW, 0u);
            EXPECT_EQ(info.hbmpUnchecked, nullptr);
            EXPECT_EQ(info.dwItemData, 0u);
            EXPECT_TRUE(item.m_hMenuFont);
            continue;
        }
        EXPECT_EQ(info.fType & MFT_OWNERDRAW, 0u);
        wchar_t text[64] = {};
        GetMenuStringW(menu.get(), 1, text, 64, MF_BYPOSITION);
        EXPECT_STREQ(text, L"Send with Pelloc");
        // The check-mark picture before Vista, the icon after.
        EXPECT_EQ(info.hbmpUnchecked, (kOlderWindows ? item.m_hbmpMenuCheck : item.m_hbmpMenuIcon).get());
        EXPECT_FALSE((kOlderWindows ? item.m_hbmpMenuIcon : item.m_hbmpMenuCheck));
        EXPECT_NE(info.hbmpUnchecked, nullptr);
    }
}

TEST_F(QueryContextMenuTest, MenuOptionZeroAloneHidesTheCommand)
{
    test::FakeSender sender;
    const test::StrictRegistry strict;
    test::ScopedRegistryValue nativeView(HKEY_LOCAL_MACHINE, kSenderProfileKey, kMenuOptionValue, KEY_WOW64_64KEY);
    const DWORD zero = 0, two = 2;
    // data null: no value.
    const struct { const char* what; DWORD type; const void* data; DWORD bytes; bool nativeViewOnly; bool shown; }
        cases[] = {
        {"missing", REG_NONE, nullptr, 0, false, true},
        {"0", REG_DWORD, &zero, 4, false, false}, {"2", REG_DWORD, &two, 4, false, true},
        {"a DWORD of two zero bytes", REG_DWORD, &zero, 2, false, true}, // other sizes and types: the fuzz test
        {"0 in the 64-bit view only", REG_DWORD, &zero, 4, true, true},
    };
    // One menu after the other: the setting is read at every call.
    for (const auto& c : cases) {
        option.Delete();
        nativeView.Delete();
        if (c.data)
            (c.nativeViewOnly ? nativeView : option).SetRaw(c.type, c.data, c.bytes);
        TestMenu menu;
        lastQueried = nullptr;
        EXPECT_EQ(Query(menu), c.shown ? 1 : E_FAIL) << c.what;
        EXPECT_EQ(menu.count(), c.shown ? 4 : 3) << c.what;
        EXPECT_EQ(lastQueried.load(), c.shown ? menu.get() : nullptr) << c.what; // a hidden command claims no menu
    }
    test::DeleteTree(HKEY_LOCAL_MACHINE, kSenderProfileKey, KEY_WOW64_32KEY);
    EXPECT_EQ(ReadMenuOption(), 1u) << "no key";
}

TEST_F(QueryContextMenuTest, MissingSenderAddsNothingButTheMenuCountsAsFilled)
{
    TestMenu menus[2];
    {
        test::FakeSender missing(false);
        EXPECT_EQ(Query(menus[0], CMF_NORMAL), S_OK);
        EXPECT_EQ(Query(menus[1], CMF_CANRENAME), S_OK);
        EXPECT_EQ(lastQueried.load(), menus[1].get());
    }
    // The item is prepared all the same.
    if (kOlderWindows) {
        EXPECT_TRUE(presentation.m_hbmpMenuCheck);
        EXPECT_TRUE(presentation.m_hMenuFont); // the rename menu refreshed the font
    } else {
        EXPECT_TRUE(presentation.m_hbmpMenuIcon);
        EXPECT_GT(presentation.m_captionWidth, 0);
    }
    EXPECT_EQ(presentation.m_idCmdFirst, 0u);
    test::FakeSender sender;
    EXPECT_EQ(Query(menus[1]), E_FAIL);
    EXPECT_EQ(menus[0].count(), 3);
    EXPECT_EQ(menus[1].count(), 3);
}

TEST_F(QueryContextMenuTest, VerbsOnlyIsRefusedBeforeAnythingElse)
{
    test::FakeSender sender;
    TestMenu menu;
    EXPECT_EQ(Query(menu, CMF_VERBSONLY), E_FAIL);
    EXPECT_EQ(Query(menu, CMF_VERBSONLY | CMF_EXPLORE), E_FAIL);
    EXPECT_EQ(menu.count(), 3);
    EXPECT_EQ(lastQueried.load(), nullptr);
    EXPECT_FALSE(presentation.m_hbmpMenuIcon || presentation.m_hbmpMenuCheck);
    EXPECT_EQ(Query(menu), 1); // the same menu may still be filled
}

TEST_F(QueryContextMenuTest, AMenuIsFilledOnlyOnceInARow)
{
    test::FakeSender sender;
    TestMenu menu;
    ASSERT_EQ(Query(menu), 1);
    EXPECT_EQ(Query(menu), E_FAIL);
    MenuPresentation other; // the last menu is shared by all handlers
    EXPECT_EQ(Query(other, menu.get(), CMF_NORMAL, 0), E_FAIL);
    EXPECT_EQ(menu.count(), 4);

    TestMenu second;
    EXPECT_EQ(Query(other, second.get(), CMF_NORMAL, 0, kIdCmdFirst + 10), 1);
    EXPECT_EQ(Query(menu), 1);
    EXPECT_EQ(menu.count(), 5);
}

} // namespace
} // namespace quillet
