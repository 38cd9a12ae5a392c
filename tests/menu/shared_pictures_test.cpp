#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "menu/shared_pictures.h"
#include "menu_test_support.h"

namespace quillet {
namespace {

// A 32-bit DIB section whose every pixel differs from its mirror images, so that a copy
// turned upside down or sideways cannot pass for the original.
UniqueBitmap PatternBitmap(LONG width, LONG height, bool topDown, WORD bitsPerPixel = 32)
{
    BITMAPINFO info = {};
    const LONG signedHeight = topDown ? -height : height;
    info.bmiHeader = {sizeof(BITMAPINFOHEADER), width, signedHeight, 1, bitsPerPixel, BI_RGB, 0, 0, 0, 0, 0};
    void* bits = nullptr;
    UniqueBitmap bitmap(CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0));
    if (bitmap && bitsPerPixel == 32) {
        auto* pixels = static_cast<DWORD*>(bits);
        for (LONG i = 0; i < width * height; ++i)
            pixels[i] = 0x01000000u * static_cast<DWORD>(i % 256) + static_cast<DWORD>(i);
    }
    return bitmap;
}

std::vector<DWORD> RawPixelsSorted(const DIBSECTION& dib)
{
    const auto* bits = static_cast<const DWORD*>(dib.dsBm.bmBits);
    std::vector<DWORD> pixels(bits, bits + dib.dsBm.bmWidth * dib.dsBm.bmHeight);
    std::sort(pixels.begin(), pixels.end());
    return pixels;
}

TEST(SharedPictures, CopiesKeepSizeFormatAndEveryPixelInEitherRowOrder)
{
    for (const bool topDown : {false, true}) {
        SCOPED_TRACE(topDown ? "top-down" : "bottom-up");
        UniqueBitmap original = PatternBitmap(7, 5, topDown);
        ASSERT_TRUE(original);
        const std::optional<DibPixels> pixels = CaptureDibPixels(original.get());
        ASSERT_TRUE(pixels);
        UniqueBitmap copy = CreateDibCopy(*pixels);
        ASSERT_TRUE(copy);
        EXPECT_NE(copy.get(), original.get());

        DIBSECTION a = {}, b = {};
        ASSERT_EQ(GetObjectW(original.get(), sizeof(a), &a), int(sizeof(a)));
        ASSERT_EQ(GetObjectW(copy.get(), sizeof(b), &b), int(sizeof(b))); // a DIB section again
        EXPECT_EQ(b.dsBmih.biWidth, a.dsBmih.biWidth);
        EXPECT_EQ(b.dsBmih.biHeight, a.dsBmih.biHeight);
        EXPECT_EQ(b.dsBmih.biBitCount, 32);
        EXPECT_EQ(b.dsBmih.biCompression, DWORD(BI_RGB));
        EXPECT_EQ(test::TopDownPixels(copy.get()), test::TopDownPixels(original.get()));
        // The memory itself, in any row order: reading back could lose the alpha bytes.
        EXPECT_EQ(RawPixelsSorted(b), RawPixelsSorted(a));
    }
}

// Identifiers no module picture uses, one per case, so each starts with nothing kept.
constexpr UINT kPatternId = 0x7F01;
constexpr UINT kMissingId = 0x7F02;
constexpr UINT kDeviceBitmapId = 0x7F03;
int g_decodes = 0;

UniqueBitmap DecodePattern(HINSTANCE, UINT, int variant)
{
    ++g_decodes;
    return PatternBitmap(6 + variant, 3, true);
}
UniqueBitmap DecodeNothing(HINSTANCE, UINT, int)
{
    ++g_decodes;
    return UniqueBitmap();
}
UniqueBitmap DecodeDeviceBitmap(HINSTANCE, UINT, int)
{
    ++g_decodes;
    return UniqueBitmap(CreateBitmap(4, 4, 1, 32, nullptr));
}

TEST(SharedPictures, DecodesOncePerPictureAndVariantAndHandsOutOwnBitmaps)
{
    g_decodes = 0;
    UniqueBitmap first = SharedPicture(test::TestResources(), kPatternId, 0, &DecodePattern);
    UniqueBitmap second = SharedPicture(test::TestResources(), kPatternId, 0, &DecodePattern);
    EXPECT_EQ(g_decodes, 1);
    ASSERT_TRUE(first && second);
    EXPECT_NE(first.get(), second.get());
    EXPECT_EQ(test::TopDownPixels(second.get()), test::TopDownPixels(PatternBitmap(6, 3, true).get()));

    // The copies share no pixels: one painted over leaves the next one as decoded.
    DIBSECTION dib = {};
    ASSERT_EQ(GetObjectW(second.get(), sizeof(dib), &dib), int(sizeof(dib)));
    static_cast<DWORD*>(dib.dsBm.bmBits)[0] ^= 0xFFFFFFFF;
    UniqueBitmap third = SharedPicture(test::TestResources(), kPatternId, 0, &DecodePattern);
    EXPECT_EQ(test::TopDownPixels(third.get()), test::TopDownPixels(first.get()));

    UniqueBitmap scaled = SharedPicture(test::TestResources(), kPatternId, 2, &DecodePattern); // another display scale
    EXPECT_EQ(g_decodes, 2);
    BITMAP facts = {};
    ASSERT_TRUE(GetObjectW(scaled.get(), sizeof(facts), &facts));
    EXPECT_EQ(facts.bmWidth, 8);
}

TEST(SharedPictures, FailuresAndUnsharableBitmapsAreNeverKept)
{
    EXPECT_FALSE(CaptureDibPixels(nullptr));
    UniqueBitmap indexed = PatternBitmap(4, 4, false, 8); // would need a colour table
    ASSERT_TRUE(indexed);
    EXPECT_FALSE(CaptureDibPixels(indexed.get()));

    g_decodes = 0;
    EXPECT_FALSE(SharedPicture(test::TestResources(), kMissingId, 0, &DecodeNothing));
    EXPECT_FALSE(SharedPicture(test::TestResources(), kMissingId, 0, &DecodeNothing));
    EXPECT_EQ(g_decodes, 2);

    g_decodes = 0; // a device bitmap, not a DIB section
    UniqueBitmap a = SharedPicture(test::TestResources(), kDeviceBitmapId, 0, &DecodeDeviceBitmap);
    UniqueBitmap b = SharedPicture(test::TestResources(), kDeviceBitmapId, 0, &DecodeDeviceBitmap);
    EXPECT_TRUE(a && b);
    EXPECT_EQ(g_decodes, 2);
}

} // namespace
} // namespace quillet
