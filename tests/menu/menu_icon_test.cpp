#include <gtest/gtest.h>

#include <optional>

#include "menu/menu_icon.h"
#include "menu_test_support.h"
#include "resources/resource_ids.h"

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
    test::HandlerServices services;
    MenuPresentation presentation;
};

void LoadIconInto(MenuPresentation& presentation)
{
    LoadMenuIcon(presentation, test::TestResources());
}
void LoadCheckInto(MenuPresentation& presentation)
{
    LoadMenuCheckBitmap(presentation, test::TestResources());
}

TEST_F(MenuIcon, SizeFollowsTheDisplayScale)
{
    LoadIconInto(presentation);
    HBITMAP icon = presentation.m_hbmpMenuIcon.get();
    const BitmapFacts facts = Inspect(icon);
    EXPECT_EQ(facts.width, ExpectedIconSide());
    EXPECT_EQ(facts.height, ExpectedIconSide());
    EXPECT_EQ(facts.bitsPerPixel, 32);
    EXPECT_TRUE(facts.someTransparent);
    EXPECT_TRUE(facts.someOpaque);
    EXPECT_TRUE(facts.premultiplied);

    LoadIconInto(presentation); // loaded once and kept
    EXPECT_EQ(presentation.m_hbmpMenuIcon.get(), icon);
}

TEST_F(MenuIcon, PngIsUsedOnlyOnScaledDisplaysAfterXP)
{
    const HINSTANCE module = GetModuleHandleW(nullptr);
    UniqueBitmap png = LoadPngMenuIcon(module, IDP_MENU_ICON);
    const int dpi = test::RequestedDpi();
    if (test::RequestedWindowsVersion() == "winxp" || dpi == 0 || dpi == 96) {
        EXPECT_FALSE(png);
    } else {
        ASSERT_TRUE(png);
        EXPECT_EQ(Inspect(png.get()).width, ExpectedIconSide());
    }
    EXPECT_FALSE(LoadPngMenuIcon(module, 0));
    EXPECT_FALSE(LoadPngMenuIcon(module, IDB_MENU_ICON)); // not a PNG resource
}

TEST_F(MenuIcon, CheckBitmapIsThirteenPixelsWithAlpha)
{
    LoadCheckInto(presentation);
    HBITMAP check = presentation.m_hbmpMenuCheck.get();
    const BitmapFacts facts = Inspect(check);
    EXPECT_EQ(facts.width, 13);
    EXPECT_EQ(facts.height, 13);
    EXPECT_EQ(facts.bitsPerPixel, 32);
    EXPECT_TRUE(facts.someTransparent);
    EXPECT_TRUE(facts.premultiplied);
    LoadCheckInto(presentation);
    EXPECT_EQ(presentation.m_hbmpMenuCheck.get(), check);
}

// The pictures as decoded straight from the module, for comparison with the handlers' ones.
UniqueBitmap FreshIcon()
{
    if (UniqueBitmap png = LoadPngMenuIcon(GetModuleHandleW(nullptr), IDP_MENU_ICON))
        return png;
    return UniqueBitmap(static_cast<HBITMAP>(LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDB_MENU_ICON),
                                                        IMAGE_BITMAP, 0, 0, LR_CREATEDIBSECTION | LR_VGACOLOR)));
}

UniqueBitmap FreshCheck()
{
    return UniqueBitmap(static_cast<HBITMAP>(LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDB_MENU_CHECK),
                                                        IMAGE_BITMAP, 0, 0, LR_CREATEDIBSECTION | LR_VGACOLOR)));
}

TEST_F(MenuIcon, EveryHandlerOwnsAndFreesPicturesEqualToFreshlyDecodedOnes)
{
    struct Picture {
        const char* name;
        void (*load)(MenuPresentation&);
        UniqueBitmap MenuPresentation::*field;
        UniqueBitmap (*fresh)();
    };
    const Picture pictures[] = {
        {"icon", &LoadIconInto, &MenuPresentation::m_hbmpMenuIcon, &FreshIcon},
        {"check mark", &LoadCheckInto, &MenuPresentation::m_hbmpMenuCheck, &FreshCheck},
    };
    for (const Picture& picture : pictures) {
        SCOPED_TRACE(picture.name);
        // Three handlers, so that at least two take their picture from what an earlier one decoded.
        std::optional<MenuPresentation> handlers[3];
        HBITMAP bitmaps[3] = {};
        for (int i = 0; i < 3; ++i) {
            picture.load(handlers[i].emplace());
            bitmaps[i] = ((*handlers[i]).*picture.field).get();
            ASSERT_NE(bitmaps[i], nullptr);
        }
        EXPECT_NE(bitmaps[0], bitmaps[1]);
        EXPECT_NE(bitmaps[1], bitmaps[2]);
        EXPECT_NE(bitmaps[0], bitmaps[2]);

        UniqueBitmap fresh = picture.fresh();
        const BitmapFacts expected = Inspect(fresh.get());
        const std::vector<DWORD> expectedPixels = test::TopDownPixels(fresh.get());
        ASSERT_FALSE(expectedPixels.empty());
        for (int i = 0; i < 3; ++i) {
            const BitmapFacts facts = Inspect(bitmaps[i]); // a 32-bit DIB section, or zeros
            EXPECT_EQ(facts.width, expected.width);
            EXPECT_EQ(facts.height, expected.height);
            EXPECT_EQ(facts.bitsPerPixel, 32);
            EXPECT_EQ(facts.someTransparent, expected.someTransparent);
            EXPECT_EQ(facts.someOpaque, expected.someOpaque);
            EXPECT_EQ(test::TopDownPixels(bitmaps[i]), expectedPixels) << "handler " << i;
        }

        // Each handler frees its own: the first one gone leaves the others' pictures whole.
        handlers[0].reset();
        EXPECT_EQ(GetObjectType(bitmaps[0]), 0u);
        EXPECT_EQ(test::TopDownPixels(bitmaps[2]), expectedPixels);
        handlers[1].reset();
        handlers[2].reset();
        EXPECT_EQ(GetObjectType(bitmaps[1]), 0u);
        EXPECT_EQ(GetObjectType(bitmaps[2]), 0u);
    }
}

} // namespace
} // namespace quillet
