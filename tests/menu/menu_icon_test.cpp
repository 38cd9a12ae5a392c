#include <gtest/gtest.h>

#include <shlwapi.h>

#include <optional>

#include "menu/menu_icon.h"
#include "menu_test_support.h"
#include "resources/resource_ids.h"
#include "support/import_patch.h"

namespace quillet {
namespace {

UniqueBitmap FreshBitmap(UINT id)
{
    return UniqueBitmap(static_cast<HBITMAP>(
        LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(id), IMAGE_BITMAP, 0, 0, LR_CREATEDIBSECTION)));
}

// The PNG as GDI+ decodes it, unscaled.
UniqueBitmap DecodedPng()
{
    HRSRC info = FindResourceW(nullptr, MAKEINTRESOURCEW(IDP_MENU_ICON), L"PNG");
    IStream* stream = SHCreateMemStream(static_cast<const BYTE*>(LockResource(LoadResource(nullptr, info))),
                                        SizeofResource(nullptr, info));
    UniqueBitmap bitmap;
    Gdiplus::Bitmap(stream).GetHBITMAP(Gdiplus::Color(0, 0, 0, 0), bitmap.put());
    stream->Release();
    return bitmap;
}

struct MenuIcon : testing::Test { test::HandlerServices services; };

TEST_F(MenuIcon, EveryHandlerOwnsAPictureOfItsSizeEqualToAFreshDecode)
{
    // At the PNG's own 240 DPI the picture is drawn unscaled: the PNG as decoded, pixel for pixel.
    UniqueBitmap png = test::RequestedDpi() == 240 ? DecodedPng()
                                                   : LoadPngMenuIcon(GetModuleHandleW(nullptr), IDP_MENU_ICON);
    struct Picture { const char* name; void (*load)(MenuPresentation&, const MenuResources&);
        UniqueBitmap MenuPresentation::*field; UniqueBitmap fresh; LONG side; } pictures[] = {
        // The icon's side is the PNG's, a sixth of the DPI, on the scaled displays after Windows XP
        // (the picture is made for 240 DPI and scaled to any other); else the 16 x 16 bitmap's.
        {"icon", &LoadMenuIcon, &MenuPresentation::m_hbmpMenuIcon, png ? std::move(png) : FreshBitmap(IDB_MENU_ICON),
         test::RequestedDpi() > 96 && test::RequestedWindowsVersion() != "winxp" ? test::RequestedDpi() / 6 : 16},
        {"check mark", &LoadMenuCheckBitmap, &MenuPresentation::m_hbmpMenuCheck, FreshBitmap(IDB_MENU_CHECK), 13},
    };
    for (const Picture& picture : pictures) {
        SCOPED_TRACE(picture.name);
        const std::vector<DWORD> expected = test::TopDownPixels(picture.fresh.get());
        // Three handlers, so that at least two take their picture from what an earlier one decoded.
        std::optional<MenuPresentation> handlers[3];
        HBITMAP bitmaps[3] = {};
        for (int i = 0; i < 3; ++i) {
            picture.load(handlers[i].emplace(), test::TestResources());
            bitmaps[i] = ((*handlers[i]).*picture.field).get();
            picture.load(*handlers[i], test::TestResources()); // loaded once and kept
            EXPECT_EQ(((*handlers[i]).*picture.field).get(), bitmaps[i]);

            DIBSECTION dib = {};
            ASSERT_EQ(GetObjectW(bitmaps[i], sizeof(dib), &dib), int(sizeof(dib))) << "handler " << i;
            EXPECT_EQ(dib.dsBm.bmWidth, picture.side);
            EXPECT_EQ(dib.dsBm.bmHeight, picture.side);
            ASSERT_EQ(dib.dsBm.bmBitsPixel, 32);
            EXPECT_EQ(test::TopDownPixels(bitmaps[i]), expected) << "handler " << i;
            // Blended onto any menu: premultiplied, with transparent and opaque pixels.
            bool transparent = false, opaque = false, premultiplied = true;
            const auto* p = static_cast<const BYTE*>(dib.dsBm.bmBits);
            for (LONG n = 0; n < dib.dsBm.bmWidth * dib.dsBm.bmHeight; ++n, p += 4) {
                transparent |= p[3] == 0;
                opaque |= p[3] == 255;
                premultiplied &= p[0] <= p[3] && p[1] <= p[3] && p[2] <= p[3];
            }
            EXPECT_TRUE(transparent && opaque && premultiplied) << transparent << opaque << premultiplied;
        }
        EXPECT_TRUE(bitmaps[0] != bitmaps[1] && bitmaps[1] != bitmaps[2] && bitmaps[0] != bitmaps[2]);

        // Each handler frees its own: the first one gone leaves the others' pictures whole.
        handlers[0].reset();
        EXPECT_EQ(GetObjectType(bitmaps[0]), 0u);
        EXPECT_EQ(test::TopDownPixels(bitmaps[2]), expected);
        handlers[1].reset();
        handlers[2].reset();
        EXPECT_TRUE(GetObjectType(bitmaps[1]) == 0 && GetObjectType(bitmaps[2]) == 0);
    }
}

LPVOID WINAPI NoBytes(HGLOBAL) { return nullptr; }

// A damaged module, whose picture resource has no bytes to give, has no picture on any display.
TEST_F(MenuIcon, AResourceWithoutBytesGivesNoPicture)
{
    const test::ScopedImport bytes("kernel32.dll", "LockResource", &NoBytes);
    EXPECT_FALSE(LoadPngMenuIcon(GetModuleHandleW(nullptr), IDP_MENU_ICON));
}

} // namespace
} // namespace quillet
