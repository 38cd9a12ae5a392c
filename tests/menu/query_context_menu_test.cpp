#include <gtest/gtest.h>

#include <shlobj.h>

#include "menu/menu_insertion.h"
#include "menu_test_support.h"
#include "support/handler_access.h"

namespace quillet {
namespace {

constexpr UINT kIdCmdFirst = 0x7000;
constexpr UINT kIdCmdLast = 0x7FFF;

class QueryContextMenuTest : public testing::Test {
protected:
    void SetUp() override
    {
        g_lastQueriedMenu = nullptr; // another test's menu handle may come back
        handler = test::MakeHandler();
        ASSERT_TRUE(handler);
    }

    HRESULT Query(const test::TestMenu& menu, UINT flags = CMF_NORMAL, UINT index = 1)
    {
        return handler->QueryContextMenu(menu.get(), index, kIdCmdFirst, kIdCmdLast, flags);
    }
    CSDKelMN& object() { return test::HandlerOf(handler.Get()); }

    test::MenuOptionValue option;
    Microsoft::WRL::ComPtr<IContextMenu3> handler;
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
    HandlerInspector::MenuItemStateOf(object()) = 7;
    ASSERT_EQ(Query(menu), 1); // one identifier used

    ASSERT_EQ(menu.count(), 4);
    EXPECT_EQ(GetMenuItemID(menu.get(), 0), 1u);
    EXPECT_EQ(GetMenuItemID(menu.get(), 1), kIdCmdFirst);
    EXPECT_EQ(GetMenuItemID(menu.get(), 2), 2u);
    EXPECT_EQ(HandlerInspector::IdCmdFirstOf(object()), kIdCmdFirst);
    EXPECT_EQ(HandlerInspector::MenuItemStateOf(object()), 0);
    EXPECT_EQ(g_lastQueriedMenu, menu.get());

    MENUITEMINFOW info = {};
    info.cbSize = sizeof(info);
    info.fMask = MIIM_CHECKMARKS | MIIM_FTYPE;
    ASSERT_TRUE(GetMenuItemInfoW(menu.get(), 1, TRUE, &info));
    EXPECT_EQ(info.hbmpChecked, nullptr);
    if (test::RunsAsOlderWindows()) {
        EXPECT_EQ(info.hbmpUnchecked, HandlerInspector::MenuCheckOf(object()));
        EXPECT_EQ(BitmapSize(info.hbmpUnchecked).cx, 13);
        EXPECT_EQ(HandlerInspector::MenuIconOf(object()), nullptr);
    } else {
        EXPECT_EQ(info.hbmpUnchecked, HandlerInspector::MenuIconOf(object()));
        EXPECT_NE(info.hbmpUnchecked, nullptr);
        EXPECT_EQ(HandlerInspector::MenuCheckOf(object()), nullptr);
    }
    EXPECT_EQ(info.fType & MFT_OWNERDRAW, 0u);
    EXPECT_EQ(ItemText(menu.get(), 1), HandlerInspector::CaptionOf(object()));
    EXPECT_EQ(ItemText(menu.get(), 1), L"Transferred with Pelloc");
}

TEST_F(QueryContextMenuTest, RenameMenuOfOlderSystemsGetsAnOwnerDrawnItem)
{
    test::FakeSender sender;
    test::TestMenu menu;
    ASSERT_EQ(Query(menu, CMF_CANRENAME, 0), 1);
    ASSERT_EQ(menu.count(), 4);
    EXPECT_EQ(GetMenuItemID(menu.get(), 0), kIdCmdFirst);

    MENUITEMINFOW info = {};
    info.cbSize = sizeof(info);
    info.fMask = MIIM_FTYPE | MIIM_CHECKMARKS | MIIM_DATA;
    ASSERT_TRUE(GetMenuItemInfoW(menu.get(), 0, TRUE, &info));
    if (test::RunsAsOlderWindows()) {
        EXPECT_NE(info.fType & MFT_OWNERDRAW, 0u);
        EXPECT_EQ(info.hbmpUnchecked, nullptr);
        EXPECT_EQ(info.dwItemData, 0u);
        EXPECT_NE(HandlerInspector::MenuFontOf(object()), nullptr);
    } else { // Vista and later ignore the flag
        EXPECT_EQ(info.fType & MFT_OWNERDRAW, 0u);
        EXPECT_EQ(info.hbmpUnchecked, HandlerInspector::MenuIconOf(object()));
        EXPECT_EQ(ItemText(menu.get(), 0), HandlerInspector::CaptionOf(object()));
    }
}

TEST_F(QueryContextMenuTest, MissingSenderAddsNothingButPreparesTheItem)
{
    test::FakeSender sender(false);
    for (const UINT flags : {UINT(CMF_NORMAL), UINT(CMF_CANRENAME)}) {
        test::TestMenu menu;
        EXPECT_EQ(Query(menu, flags), S_OK);
        EXPECT_EQ(menu.count(), 3);
        EXPECT_EQ(g_lastQueriedMenu, menu.get()); // remembered all the same
    }
    CSDKelMN& h = object();
    if (test::RunsAsOlderWindows()) {
        EXPECT_NE(HandlerInspector::MenuCheckOf(h), nullptr);
        EXPECT_NE(HandlerInspector::MenuFontOf(h), nullptr); // the rename menu refreshed the font
    } else {
        EXPECT_NE(HandlerInspector::MenuIconOf(h), nullptr);
        EXPECT_GT(HandlerInspector::CaptionWidthOf(h), 0);
    }
    EXPECT_EQ(HandlerInspector::IdCmdFirstOf(h), 0u);
}

TEST_F(QueryContextMenuTest, VerbsOnlyIsRefusedBeforeAnythingElse)
{
    test::FakeSender sender;
    test::TestMenu menu;
    EXPECT_EQ(Query(menu, CMF_VERBSONLY), E_FAIL);
    EXPECT_EQ(Query(menu, CMF_VERBSONLY | CMF_EXPLORE), E_FAIL);
    EXPECT_EQ(menu.count(), 3);
    EXPECT_EQ(g_lastQueriedMenu, nullptr);
    EXPECT_EQ(HandlerInspector::MenuIconOf(object()), nullptr);
    EXPECT_EQ(HandlerInspector::MenuCheckOf(object()), nullptr);
    EXPECT_EQ(Query(menu), 1); // the same menu may still be filled
}

TEST_F(QueryContextMenuTest, MenuOptionZeroHidesTheCommand)
{
    test::FakeSender sender;
    test::TestMenu menu;
    option.value.SetDword(0);
    EXPECT_EQ(Query(menu), E_FAIL);
    EXPECT_EQ(menu.count(), 3);
    EXPECT_EQ(g_lastQueriedMenu, nullptr);

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
    auto other = test::MakeHandler();
    ASSERT_TRUE(other);
    EXPECT_EQ(other->QueryContextMenu(menu.get(), 0, kIdCmdFirst, kIdCmdLast, CMF_NORMAL), E_FAIL);
    EXPECT_EQ(menu.count(), 4);

    // Another menu in between lets the first one be filled again.
    test::TestMenu second;
    EXPECT_EQ(other->QueryContextMenu(second.get(), 0, kIdCmdFirst + 10, kIdCmdLast, CMF_NORMAL), 1);
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

TEST_F(QueryContextMenuTest, GetCommandStringAlwaysRefuses)
{
    char buffer[64] = "untouched";
    for (const UINT type : {UINT(GCS_VERBA), UINT(GCS_VERBW), UINT(GCS_HELPTEXTA), UINT(GCS_HELPTEXTW),
                            UINT(GCS_VALIDATEA), UINT(GCS_VALIDATEW)}) {
        for (const UINT_PTR command : {UINT_PTR(0), UINT_PTR(1)})
            EXPECT_EQ(handler->GetCommandString(command, type, nullptr, buffer, 32), E_INVALIDARG) << type;
    }
    EXPECT_EQ(handler->GetCommandString(0, GCS_VERBW, nullptr, nullptr, 0), E_INVALIDARG);
    EXPECT_STREQ(buffer, "untouched");
}

} // namespace
} // namespace quillet
