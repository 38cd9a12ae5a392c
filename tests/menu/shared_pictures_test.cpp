// Decoding is the costly part of a picture: once per picture and display scale in a process.
// That each handler's own bitmap equals a fresh decode is in menu_icon_test.cpp.
#include <gtest/gtest.h>

#include <tuple>

#include "menu/shared_pictures.h"
#include "menu_test_support.h"

namespace quillet {
namespace {

int g_decodes = 0; // by DecodePattern, in this program

// A top-down DIB section of one memory page at variant 0, every pixel (alpha too) different.
UniqueBitmap DecodePattern(HINSTANCE, UINT, int variant)
{
    ++g_decodes;
    const LONG width = 32 + variant;
    BITMAPINFO info = {{sizeof(BITMAPINFOHEADER), width, -32, 1, 32, BI_RGB, 0, 0, 0, 0, 0}, {}};
    void* bits = nullptr;
    UniqueBitmap bitmap(CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0));
    for (DWORD i = 0; bitmap && i < DWORD(width) * 32; ++i)
        static_cast<DWORD*>(bits)[i] = 0x01000000u * (i % 256) + i;
    return bitmap;
}

// SharedPicture with this program's resources, decoding by DecodePattern.
UniqueBitmap Shared(UINT id, int variant) { return SharedPicture(test::TestResources(), id, variant, &DecodePattern); }

TEST(SharedPictures, DecodedOncePerPictureAndScaleWithACopyForEachCaller)
{
    constexpr UINT kId = 0x7F01; // no module picture uses it: nothing is kept for it yet
    // Another picture kept at a scale asked for below is no reason not to keep this one.
    Shared(kId + 1, 1);
    const UniqueBitmap first = Shared(kId, 0), second = Shared(kId, 0);
    const UniqueBitmap scaled = Shared(kId, 1), scaledAgain = Shared(kId, 1);
    EXPECT_EQ(g_decodes, 3);
    ASSERT_TRUE(first && second && scaled);
    EXPECT_NE(first.get(), second.get());
    EXPECT_EQ(test::TopDownPixels(second.get()), test::TopDownPixels(first.get()));
    BITMAP facts = {};
    ASSERT_TRUE(GetObjectW(scaled.get(), sizeof(facts), &facts));
    EXPECT_EQ(facts.bmWidth, 33);
}

// A copy is made from the header alone: masks or another depth would be lost.
TEST(SharedPictures, OnlyPlain32BitDibSectionsAreCaptured)
{
    // {depth, compression, side} -> captured
    const std::tuple<WORD, DWORD, LONG, bool> cases[] = {
        {32, BI_RGB, 1, true}, {24, BI_RGB, 4, false}, {32, BI_BITFIELDS, 4, false}};
    for (const auto& [depth, compression, side, captured] : cases) {
        struct { BITMAPINFOHEADER header; DWORD masks[3]; } info = {
            {sizeof(BITMAPINFOHEADER), side, side, 1, depth, compression, 0, 0, 0, 0, 0},
            {0xFF, 0xFF00, 0xFF0000}}; // not the plain layout's masks
        UniqueBitmap bitmap(
            CreateDIBSection(nullptr, reinterpret_cast<BITMAPINFO*>(&info), DIB_RGB_COLORS, nullptr, nullptr, 0));
        ASSERT_TRUE(bitmap);
        EXPECT_EQ(CaptureDibPixels(bitmap.get()).has_value(), captured) << depth << ", " << compression;
    }
}

} // namespace
} // namespace quillet
