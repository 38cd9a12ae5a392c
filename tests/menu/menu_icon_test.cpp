#include <gtest/gtest.h>

#include "menu/menu_icon.h"
#include "menu_test_support.h"
#include "resources/resource_ids.h"
#include "support/handler_access.h"

namespace quillet {
namespace {

struct BitmapFacts {
    LONG width = 0;
    LONG height = 0;
    WORD bitsPerPixel = 0;
    bool someTransparent = false; // alpha 0 somewhere
    bool someOpaque = false;      // alpha 255 somewhere
    bool premultiplied = true;    // no colour byte above its alpha
};

BitmapFacts Inspect(HBITMAP bitmap)
{
    BitmapFacts facts;
    DIBSECTION dib = {};
    if (!bitmap || GetObjectW(bitmap, sizeof(dib), &dib) != sizeof(dib))
        return facts;
    facts.width = dib.dsBm.bmWidth;
    facts.height = dib.dsBm.bmHeight;
    facts.bitsPerPixel = dib.dsBm.bmBitsPixel;
    if (facts.bitsPerPixel != 32 || !dib.dsBm.bmBits)
        return facts;
    const auto* pixels = static_cast<const BYTE*>(dib.dsBm.bmBits);
    for (LONG i = 0; i < facts.width * facts.height; ++i) {
        const BYTE* p = pixels + 4 * i;
        facts.someTransparent |= p[3] == 0;
        facts.someOpaque |= p[3] == 255;
        facts.premultiplied &= p[0] <= p[3] && p[1] <= p[3] && p[2] <= p[3];
    }
    return facts;
}

// The icon's side in pixels for the display the run asked for; XP never takes the PNG.
LONG ExpectedIconSide()
{
    const int dpi = test::RequestedDpi();
    if (test::RequestedWindowsVersion() == "winxp" || dpi == 0 || dpi == 96)
        return 16;
    return MulDiv(40, MulDiv(dpi, 100, 96), 250);
}

class MenuIcon : public testing::Test {
protected:
    void SetUp() override
    {
        handler = test::MakeHandler(); // starts GDI+
        ASSERT_TRUE(handler);
    }
    CSDKelMN& object() { return test::HandlerOf(handler.Get()); }
    Microsoft::WRL::ComPtr<IContextMenu3> handler;
};

TEST_F(MenuIcon, SizeFollowsTheDisplayScale)
{
    HandlerInspector::LoadMenuIcon(object());
    HBITMAP icon = HandlerInspector::MenuIconOf(object());
    const BitmapFacts facts = Inspect(icon);
    EXPECT_EQ(facts.width, ExpectedIconSide());
    EXPECT_EQ(facts.height, ExpectedIconSide());
    EXPECT_EQ(facts.bitsPerPixel, 32);
    EXPECT_TRUE(facts.someTransparent);
    EXPECT_TRUE(facts.someOpaque);
    EXPECT_TRUE(facts.premultiplied);

    HandlerInspector::LoadMenuIcon(object()); // loaded once and kept
    EXPECT_EQ(HandlerInspector::MenuIconOf(object()), icon);
}

TEST_F(MenuIcon, PngIsUsedOnlyOnScaledDisplaysAfterXP)
{
    UniqueBitmap png = LoadPngMenuIcon(IDP_MENU_ICON);
    const int dpi = test::RequestedDpi();
    if (test::RequestedWindowsVersion() == "winxp" || dpi == 0 || dpi == 96) {
        EXPECT_FALSE(png);
    } else {
        ASSERT_TRUE(png);
        EXPECT_EQ(Inspect(png.get()).width, ExpectedIconSide());
    }
    EXPECT_FALSE(LoadPngMenuIcon(0));
    EXPECT_FALSE(LoadPngMenuIcon(IDB_MENU_ICON)); // not a PNG resource
}

TEST_F(MenuIcon, CheckBitmapIsThirteenPixelsWithAlpha)
{
    HandlerInspector::LoadMenuCheckBitmap(object());
    HBITMAP check = HandlerInspector::MenuCheckOf(object());
    const BitmapFacts facts = Inspect(check);
    EXPECT_EQ(facts.width, 13);
    EXPECT_EQ(facts.height, 13);
    EXPECT_EQ(facts.bitsPerPixel, 32);
    EXPECT_TRUE(facts.someTransparent);
    EXPECT_TRUE(facts.premultiplied);
    HandlerInspector::LoadMenuCheckBitmap(object());
    EXPECT_EQ(HandlerInspector::MenuCheckOf(object()), check);
}

} // namespace
} // namespace quillet
