#include <gtest/gtest.h>

#include <shlobj.h>

#include "menu/menu_insertion.h"
#include "menu_test_support.h"

namespace quillet {
namespace {

constexpr UINT kIdCmdFirst = 0x7000;

class QueryContextMenuTest : public testing::Test {
protected:
    void SetUp() override { lstrcpyW(presentation.m_menuCaption, L"Send with Pelloc"); }
    HRESULT Query(const test::TestMenu& menu, UINT flags = CMF_NORMAL, UINT index = 1)
    {
        return Query(presentation, menu.get(), flags, index);
    }
    HRESULT Query(MenuPresentation& of, HMENU menu, UINT flags = CMF_NORMAL, UINT index = 1, UINT first = kIdCmdFirst)
    {
        return InsertMenuCommand(of, test::TestResources(), lastQueried, menu, index, first, flags);
    }

    test::HandlerServices services;
    test::MenuOptionValue option;
    MenuPresentation presentation;
    HMENU lastQueried = nullptr;
};

std::wstring ItemText(HMENU menu, UINT index)
{
    wchar_t text[256] = {};
    GetMenuStringW(menu, index, text, 256, MF_BYPOSITION);
    return text;
}

SIZE BitmapSize(HBITMAP bitmap)
{
    BITMAP info = {};
    if (!bitmap || !GetObjectW(bitmap, sizeof(info), &info))
        return {0, 0};
    return {info.bmWidth, info.bmHeight};
}

TEST_F(QueryContextMenuTest, InsertsOneItemAtTheGivenPosition)
{
    test::FakeSender sender;
    test::TestMenu menu;
    presentation.m_menuItemState = 7;
    ASSERT_EQ(Query(menu), 1); // one identifier used

    ASSERT_EQ(menu.count(), 4);
    EXPECT_EQ(GetMenuItemID(menu.get(), 0), 1u);
    EXPECT_EQ(GetMenuItemID(menu.get(), 1), kIdCmdFirst);
    EXPECT_EQ(GetMenuItemID(menu.get(), 2), 2u);
    EXPECT_EQ(presentation.m_idCmdFirst, kIdCmdFirst);
    EXPECT_EQ(presentation.m_menuItemState, 0);
    EXPECT_EQ(lastQueried, menu.get());

    MENUITEMINFOW info = {};
    info.cbSize = sizeof(info);
    info.fMask = MIIM_CHECKMARKS | MIIM_FTYPE;
    ASSERT_TRUE(GetMenuItemInfoW(menu.get(), 1, TRUE, &info));
    EXPECT_EQ(info.hbmpChecked, nullptr);
    if (test::RunsAsOlderWindows()) {
        EXPECT_EQ(info.hbmpUnchecked, presentation.m_hbmpMenuCheck.get());
        EXPECT_EQ(BitmapSize(info.hbmpUnchecked).cx, 13);
        EXPECT_FALSE(presentation.m_hbmpMenuIcon);
    } else {
        EXPECT_EQ(info.hbmpUnchecked, presentation.m_hbmpMenuIcon.get());
        EXPECT_NE(info.hbmpUnchecked, nullptr);
        EXPECT_FALSE(presentation.m_hbmpMenuCheck);
    }
    EXPECT_EQ(info.fType & MFT_OWNERDRAW, 0u);
    EXPECT_EQ(ItemText(menu.get(), 1), presentation.m_menuCaption);
}

TEST_F(QueryContextMenuTest, RenameMenuOfOlderSystemsGetsAnOwnerDrawnItem)
{
    test::FakeSender sender;
    test::TestMenu menu;
    presentation.m_menuItemState = 7; // every form of the item resets it
    ASSERT_EQ(Query(menu, CMF_CANRENAME, 0), 1);
    ASSERT_EQ(menu.count(), 4);
    EXPECT_EQ(GetMenuItemID(menu.get(), 0), kIdCmdFirst);
    EXPECT_EQ(presentation.m_menuItemState, 0);

    MENUITEMINFOW info = {};
    info.cbSize = sizeof(info);
    info.fMask = MIIM_FTYPE | MIIM_CHECKMARKS | MIIM_DATA;
    ASSERT_TRUE(GetMenuItemInfoW(menu.get(), 0, TRUE, &info));
    if (test::RunsAsOlderWindows()) {
        EXPECT_NE(info.fType & MFT_OWNERDRAW, 0u);
        EXPECT_EQ(info.hbmpUnchecked, nullptr);
        EXPECT_EQ(info.dwItemData, 0u);
        EXPECT_TRUE(presentation.m_hMenuFont);
    } else { // Vista and later ignore the flag
        EXPECT_EQ(info.fType & MFT_OWNERDRAW, 0u);
        EXPECT_EQ(info.hbmpUnchecked, presentation.m_hbmpMenuIcon.get());
        EXPECT_EQ(ItemText(menu.get(), 0), presentation.m_menuCaption);
    }
}

TEST_F(QueryContextMenuTest, MissingSenderAddsNothingButPreparesTheItem)
{
    test::FakeSender sender(false);
    for (const UINT flags : {UINT(CMF_NORMAL), UINT(CMF_CANRENAME)}) {
        test::TestMenu menu;
        EXPECT_EQ(Query(menu, flags), S_OK);
        EXPECT_EQ(menu.count(), 3);
        EXPECT_EQ(lastQueried, menu.get()); // remembered all the same
    }
    if (test::RunsAsOlderWindows()) {
        EXPECT_TRUE(presentation.m_hbmpMenuCheck);
        EXPECT_TRUE(presentation.m_hMenuFont); // the rename menu refreshed the font
    } else {
        EXPECT_TRUE(presentation.m_hbmpMenuIcon);
        EXPECT_GT(presentation.m_captionWidth, 0);
    }
    EXPECT_EQ(presentation.m_idCmdFirst, 0u);
}

TEST_F(QueryContextMenuTest, VerbsOnlyIsRefusedBeforeAnythingElse)
{
    test::FakeSender sender;
    test::TestMenu menu;
    EXPECT_EQ(Query(menu, CMF_VERBSONLY), E_FAIL);
    EXPECT_EQ(Query(menu, CMF_VERBSONLY | CMF_EXPLORE), E_FAIL);
    EXPECT_EQ(menu.count(), 3);
    EXPECT_EQ(lastQueried, nullptr);
    EXPECT_FALSE(presentation.m_hbmpMenuIcon);
    EXPECT_FALSE(presentation.m_hbmpMenuCheck);
    EXPECT_EQ(Query(menu), 1); // the same menu may still be filled
}

TEST_F(QueryContextMenuTest, MenuOptionZeroHidesTheCommand)
{
    test::FakeSender sender;
    test::TestMenu menu;
    option.value.SetDword(0);
    EXPECT_EQ(Query(menu), E_FAIL);
    EXPECT_EQ(menu.count(), 3);
    EXPECT_EQ(lastQueried, nullptr);

    option.value.SetDword(2); // read at every call
    EXPECT_EQ(Query(menu), 1);
}

TEST_F(QueryContextMenuTest, MenuOptionOtherThanADwordZeroShowsTheCommand)
{
    test::FakeSender sender;
    test::MenuOptionValue nativeView(KEY_WOW64_64KEY);
    const auto shown = [&](const char* what) {
        test::TestMenu menu;
        EXPECT_EQ(Query(menu), 1) << what;
    };
    shown("missing");
    option.value.SetString(L"0");
    shown("the string \"0\"");
    const BYTE shortZero[2] = {};
    option.value.SetRaw(REG_BINARY, shortZero, sizeof(shortZero));
    shown("binary zero");
    option.value.Delete();
    nativeView.value.SetDword(0);
    shown("0 in the 64-bit view only");
}

TEST_F(QueryContextMenuTest, AMenuIsFilledOnlyOnce)
{
    test::FakeSender sender;
    test::TestMenu menu;
    ASSERT_EQ(Query(menu), 1);
    EXPECT_EQ(Query(menu), E_FAIL);
    MenuPresentation other;
    EXPECT_EQ(Query(other, menu.get(), CMF_NORMAL, 0), E_FAIL);
    EXPECT_EQ(menu.count(), 4);

    // Another menu in between lets the first one be filled again.
    test::TestMenu second;
    EXPECT_EQ(Query(other, second.get(), CMF_NORMAL, 0, kIdCmdFirst + 10), 1);
    EXPECT_EQ(Query(menu), 1);
    EXPECT_EQ(menu.count(), 5);
}

TEST_F(QueryContextMenuTest, AMenuSeenWithoutTheSenderIsNotFilledLater)
{
    test::TestMenu menu;
    {
        test::FakeSender missing(false);
        EXPECT_EQ(Query(menu), S_OK);
    }
    test::FakeSender sender;
    EXPECT_EQ(Query(menu), E_FAIL);
    EXPECT_EQ(menu.count(), 3);
}

} // namespace
} // namespace quillet
