#include <gtest/gtest.h>

#include <cstring>

#include "menu/caption_measure.h"
#include "menu/owner_draw.h"
#include "menu/shared_pictures.h"
#include "menu_test_support.h"

namespace quillet {
namespace {

constexpr UINT kItemId = 0x7100;
constexpr LRESULT kUntouched = 0x5A5A;

LOGFONTW SystemMenuFont()
{
    NONCLIENTMETRICSW metrics = {};
    metrics.cbSize = sizeof(metrics);
    SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof(metrics), &metrics, 0);
    return metrics.lfMenuFont;
}

// Width of the text in the system menu font, by another route than the handler's.
int TextWidth(const wchar_t* text)
{
    const LOGFONTW logFont = SystemMenuFont();
    UniqueFont font(CreateFontIndirectW(&logFont));
    WindowDc screen(nullptr);
    SelectionScope selected(screen.get(), font.get());
    SIZE size = {};
    GetTextExtentPoint32W(screen.get(), text, lstrlenW(text), &size);
    return size.cx;
}

// COLOR_MENUTEXT set for a while; the old colour comes back even when a check fails.
struct ScopedMenuTextColour {
    explicit ScopedMenuTextColour(COLORREF colour) { SetSysColors(1, &kElement, &colour); }
    ~ScopedMenuTextColour() { SetSysColors(1, &kElement, &old); }
    static constexpr INT kElement = COLOR_MENUTEXT;
    const COLORREF old = GetSysColor(COLOR_MENUTEXT);
};

struct OwnerDraw : testing::Test {
    void SetUp() override
    {
        h.m_idCmdFirst = kItemId;
        lstrcpyW(h.m_menuCaption, L"Transferred with Pelloc");
        RefreshMenuFont(h);
    }
    // The message as the handler passes it on; result may be null.
    void Send(UINT message, const void* structure, LRESULT* result)
    {
        HandleMenuMessage(h, test::TestResources(), message, reinterpret_cast<LPARAM>(structure), result);
    }
    const int checkWidth = GetSystemMetrics(SM_CXMENUCHECK) + 6;
    test::HandlerServices services;
    MenuPresentation h;
};

TEST_F(OwnerDraw, MeasuresCheckMarkSpacePlusCaption)
{
    // An ampersand is text here, not a mnemonic.
    const wchar_t* caption = L"&Transferred with Pelloc";
    lstrcpyW(h.m_menuCaption, caption);
    LRESULT result = kUntouched;
    for (LRESULT* out : {&result, static_cast<LRESULT*>(nullptr)}) {
        MEASUREITEMSTRUCT item = {ODT_MENU, 0, kItemId, 1, 1, 0};
        Send(WM_MEASUREITEM, &item, out);
        EXPECT_EQ(item.itemWidth, UINT(checkWidth + TextWidth(caption)));
        EXPECT_EQ(item.itemHeight, UINT(GetSystemMetrics(SM_CYMENUCHECK) + 5));
    }
    EXPECT_EQ(result, TRUE);
}

TEST_F(OwnerDraw, OtherItemsOtherMessagesAndMissingStructuresAreLeftAlone)
{
    MEASUREITEMSTRUCT item = {ODT_MENU, 0, kItemId + 1, 11, 22, 33};
    DRAWITEMSTRUCT draw = {0, 0, kItemId + 1, 0, 0, nullptr, nullptr, {}, 0};
    LRESULT result = kUntouched;
    Send(WM_MEASUREITEM, &item, &result);
    Send(WM_DRAWITEM, &draw, &result);
    EXPECT_EQ(item.itemWidth, 11u);
    EXPECT_EQ(item.itemHeight, 22u);

    for (const UINT message : {UINT(WM_MEASUREITEM), UINT(WM_DRAWITEM), UINT(WM_INITMENUPOPUP), UINT(WM_MENUCHAR)})
        for (LRESULT* out : {&result, static_cast<LRESULT*>(nullptr)})
            Send(message, nullptr, out);
    EXPECT_EQ(result, kUntouched);
    EXPECT_EQ(h.m_captionWidth, 0); // nothing was measured
}

// A selected caption is painted in the complement of the menu text, not in the highlight-text
// colour: a menu text colour of our own tells the two apart, which Wine's black text does not.
// The handler's item has no picture (its size stays 0); one of any other size goes centred into
// the check-mark space, 2 pixels in when that puts it 5 or more in or before the space, and
// never moves with the item's left edge.
TEST_F(OwnerDraw, PaintsBackgroundPictureAndCaptionAfterTheCheckMarkSpace)
{
    const COLORREF text = RGB(0x30, 0x70, 0x10), complement = RGB(0xCF, 0x8F, 0xEF);
    ScopedMenuTextColour menuText(text);
    ASSERT_EQ(GetSysColor(COLOR_MENUTEXT), text);
    for (const int other : {COLOR_HIGHLIGHTTEXT, COLOR_HIGHLIGHT, COLOR_MENU})
        ASSERT_NE(GetSysColor(other), complement) << "system colour " << other;

    constexpr int kWidth = 360, kHeight = 30, kPictureHeight = 10, kPictureTop = 10;
    const auto asPixel = [](COLORREF c) { return DWORD(GetRValue(c)) << 16 | GetGValue(c) << 8 | GetBValue(c); };
    // kPicture is opaque: what the handler draws of it is its own colour.
    constexpr DWORD kUnpainted = 0x00010203, kPicture = 0xFF40C020, kPictureColour = kPicture & 0xFFFFFF;
    const auto filled = [](int width, int height, DWORD pixel) {
        std::vector<BYTE> bits(size_t(width) * size_t(height) * 4);
        for (size_t i = 0; i < bits.size(); ++i)
            bits[i] = BYTE(pixel >> (i % 4 * 8));
        return CreateDibCopy({{sizeof(BITMAPINFOHEADER), width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0}, bits});
    };
    // A picture's width is given as so much over the check-mark space's (0: no picture).
    const struct { UINT state; int background; COLORREF text; int left, pictureOverCheckWidth, pictureLeft; } cases[] = {
        {0, COLOR_MENU, text, 0, 0, 0}, {ODS_SELECTED, COLOR_HIGHLIGHT, complement, 0, 0, 0},
        {ODS_SELECTED | ODS_FOCUS, COLOR_HIGHLIGHT, complement, 12, 0, 0},
        {ODS_SELECTED, COLOR_HIGHLIGHT, complement, 12, -6, 3},
        {ODS_SELECTED, COLOR_HIGHLIGHT, complement, 12, +1, 0}, // -1 / 2 rounds toward zero
        {ODS_SELECTED, COLOR_HIGHLIGHT, complement, 12, -10, 2},
        {ODS_SELECTED, COLOR_HIGHLIGHT, complement, 12, +2, 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.state << ", left " << c.left << ", picture " << c.pictureOverCheckWidth);
        const int pictureWidth = c.pictureOverCheckWidth ? checkWidth + c.pictureOverCheckWidth : 0;
        h.m_iconWidth = UINT(pictureWidth);
        h.m_iconHeight = pictureWidth ? kPictureHeight : 0;
        if (pictureWidth)
            h.m_hbmpMenuIcon = filled(pictureWidth, kPictureHeight, kPicture);
        UniqueMemoryDc dc(CreateCompatibleDC(nullptr));
        UniqueBitmap canvas = filled(kWidth, kHeight, kUnpainted);
        ASSERT_TRUE(canvas);
        SelectionScope selected(dc.get(), canvas.get());

        DRAWITEMSTRUCT item = {ODT_MENU, 0, kItemId, ODA_DRAWENTIRE, c.state, nullptr, dc.get(),
                               {c.left, 0, kWidth, kHeight}, 0};
        LRESULT result = kUntouched;
        Send(WM_DRAWITEM, &item, &result);
        EXPECT_EQ(result, TRUE);

        const std::vector<DWORD> pixels = test::TopDownPixels(canvas.get());
        const DWORD background = asPixel(GetSysColor(c.background));
        EXPECT_EQ(pixels[c.left], background);
        EXPECT_EQ(pixels[kWidth * kHeight - 1], background);
        if (c.left > 0) {
            EXPECT_EQ(pixels[c.left - 1], kUnpainted); // only the item's rectangle
        }
        int firstInk = -1, textPixels = 0, pictureCorner = -1, picturePixels = 0;
        for (int x = 0; x < kWidth; ++x)
            for (int y = 0; y < kHeight; ++y) {
                const DWORD pixel = pixels[y * kWidth + x] & 0xFFFFFF;
                if (pixel == kPictureColour && picturePixels++ == 0)
                    pictureCorner = y * kWidth + x;
                textPixels += pixel == asPixel(c.text);
                if (x >= c.left && pixel != background && pixel != kPictureColour && firstInk < 0)
                    firstInk = x;
            }
        EXPECT_EQ(picturePixels, pictureWidth * int(h.m_iconHeight));
        EXPECT_EQ(pictureCorner, pictureWidth ? kPictureTop * kWidth + c.pictureLeft : -1);
        EXPECT_GE(firstInk, c.left + checkWidth); // no text in the check-mark space
        EXPECT_LE(firstInk, c.left + checkWidth + 3);
        EXPECT_GT(textPixels, 20);
    }
}

TEST_F(OwnerDraw, MenuFontIsRecreatedOnlyWhenTheSystemFontChanged)
{
    const LOGFONTW system = SystemMenuFont();
    HFONT font = h.m_hMenuFont.get();
    ASSERT_NE(font, nullptr);
    EXPECT_EQ(std::memcmp(&h.m_menuLogFont, &system, sizeof(LOGFONTW)), 0);
    RefreshMenuFont(h);
    EXPECT_EQ(h.m_hMenuFont.get(), font);

    // As if the system's menu font had been another one when the font was made.
    h.m_menuLogFont.lfHeight += 3;
    RefreshMenuFont(h);
    EXPECT_TRUE(h.m_hMenuFont);
    EXPECT_EQ(GetObjectType(font), 0u) << "the old font must be deleted";
    EXPECT_EQ(std::memcmp(&h.m_menuLogFont, &system, sizeof(LOGFONTW)), 0);
}

} // namespace
} // namespace quillet
