#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include "platform/handles.h"
#include "support/handler_access.h"

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

class OwnerDraw : public testing::Test {
protected:
    void SetUp() override
    {
        handler = test::MakeHandler();
        ASSERT_TRUE(handler);
        HandlerInspector::IdCmdFirstOf(object()) = kItemId;
        HandlerInspector::RefreshMenuFont(object());
    }
    CSDKelMN& object() { return test::HandlerOf(handler.Get()); }
    const int checkWidth = GetSystemMetrics(SM_CXMENUCHECK) + 6;
    Microsoft::WRL::ComPtr<IContextMenu3> handler;
};

TEST_F(OwnerDraw, MeasuresCheckMarkSpacePlusCaption)
{
    // An ampersand is text here, not a mnemonic.
    const wchar_t* caption = L"&Transferred with Pelloc";
    lstrcpyW(HandlerInspector::CaptionOf(object()), caption);
    MEASUREITEMSTRUCT item = {ODT_MENU, 0, kItemId, 1, 1, 0};
    LRESULT result = kUntouched;
    ASSERT_EQ(handler->HandleMenuMsg2(WM_MEASUREITEM, 0, reinterpret_cast<LPARAM>(&item), &result), S_OK);
    EXPECT_EQ(result, TRUE);
    EXPECT_EQ(item.itemWidth, UINT(checkWidth + TextWidth(caption)));
    EXPECT_EQ(item.itemHeight, UINT(GetSystemMetrics(SM_CYMENUCHECK) + 5));
    EXPECT_EQ(HandlerInspector::CaptionWidthOf(object()), TextWidth(caption));
    EXPECT_NE(HandlerInspector::MenuIconOf(object()), nullptr);

    item = {ODT_MENU, 0, kItemId, 1, 1, 0}; // the same through IContextMenu2, without a result
    ASSERT_EQ(handler->HandleMenuMsg(WM_MEASUREITEM, 0, reinterpret_cast<LPARAM>(&item)), S_OK);
    EXPECT_EQ(item.itemWidth, UINT(checkWidth + TextWidth(caption)));
}

TEST_F(OwnerDraw, OtherItemsOtherMessagesAndMissingStructuresAreLeftAlone)
{
    MEASUREITEMSTRUCT item = {ODT_MENU, 0, kItemId + 1, 11, 22, 33};
    DRAWITEMSTRUCT draw = {};
    draw.itemID = kItemId + 1;
    LRESULT result = kUntouched;
    EXPECT_EQ(handler->HandleMenuMsg2(WM_MEASUREITEM, 0, reinterpret_cast<LPARAM>(&item), &result), S_OK);
    EXPECT_EQ(handler->HandleMenuMsg2(WM_DRAWITEM, 0, reinterpret_cast<LPARAM>(&draw), &result), S_OK);
    EXPECT_EQ(item.itemWidth, 11u);
    EXPECT_EQ(item.itemHeight, 22u);

    for (const UINT message : {UINT(WM_MEASUREITEM), UINT(WM_DRAWITEM), UINT(WM_INITMENUPOPUP), UINT(WM_MENUCHAR)}) {
        EXPECT_EQ(handler->HandleMenuMsg2(message, 0, 0, &result), S_OK);
        EXPECT_EQ(handler->HandleMenuMsg2(message, 0, 0, nullptr), S_OK);
        EXPECT_EQ(handler->HandleMenuMsg(message, 0, 0), S_OK);
    }
    EXPECT_EQ(result, kUntouched);
    EXPECT_EQ(HandlerInspector::CaptionWidthOf(object()), 0); // nothing was measured
}

TEST_F(OwnerDraw, PaintsBackgroundAndCaptionAfterTheCheckMarkSpace)
{
    constexpr int kWidth = 360, kHeight = 30;
    constexpr DWORD kUnpainted = 0x00010203;
    const auto asPixel = [](COLORREF c) { return DWORD(GetRValue(c)) << 16 | GetGValue(c) << 8 | GetBValue(c); };
    const COLORREF text = GetSysColor(COLOR_MENUTEXT);
    const COLORREF inverted = RGB(255 - GetRValue(text), 255 - GetGValue(text), 255 - GetBValue(text));
    struct Case {
        UINT state;
        COLORREF background, text;
        int left;
    };
    for (const Case& c : {Case{0, GetSysColor(COLOR_MENU), text, 0},
                          Case{ODS_SELECTED, GetSysColor(COLOR_HIGHLIGHT), inverted, 0},
                          Case{ODS_SELECTED | ODS_FOCUS, GetSysColor(COLOR_HIGHLIGHT), inverted, 12}}) {
        SCOPED_TRACE(testing::Message() << "state " << c.state << ", left " << c.left);
        UniqueMemoryDc dc(CreateCompatibleDC(nullptr));
        BITMAPINFO info = {};
        info.bmiHeader = {sizeof(BITMAPINFOHEADER), kWidth, -kHeight, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
        void* bits = nullptr;
        UniqueBitmap canvas(CreateDIBSection(dc.get(), &info, DIB_RGB_COLORS, &bits, nullptr, 0));
        ASSERT_TRUE(canvas);
        auto* pixels = static_cast<DWORD*>(bits);
        std::fill(pixels, pixels + kWidth * kHeight, kUnpainted);
        SelectionScope selected(dc.get(), canvas.get());

        DRAWITEMSTRUCT item = {ODT_MENU, 0, kItemId, ODA_DRAWENTIRE, c.state, nullptr, dc.get(),
                               {c.left, 0, kWidth, kHeight}, 0};
        LRESULT result = kUntouched;
        ASSERT_EQ(handler->HandleMenuMsg2(WM_DRAWITEM, 0, reinterpret_cast<LPARAM>(&item), &result), S_OK);
        EXPECT_EQ(result, TRUE);
        GdiFlush();

        const DWORD background = asPixel(c.background);
        EXPECT_EQ(pixels[c.left], background);
        EXPECT_EQ(pixels[kWidth * kHeight - 1], background);
        if (c.left > 0) {
            EXPECT_EQ(pixels[c.left - 1], kUnpainted); // only the item's rectangle
        }
        int firstInk = -1;
        bool textColourSeen = false;
        for (int x = c.left; x < kWidth; ++x)
            for (int y = 0; y < kHeight; ++y) {
                const DWORD pixel = pixels[y * kWidth + x] & 0xFFFFFF;
                textColourSeen |= pixel == asPixel(c.text);
                if (pixel != background && firstInk < 0)
                    firstInk = x;
            }
        EXPECT_GE(firstInk, c.left + checkWidth); // no picture, no text in the check-mark space
        EXPECT_LE(firstInk, c.left + checkWidth + 3);
        EXPECT_TRUE(textColourSeen);
    }
}

// The caption's width in `font` (or the DC's own font) measured on the screen's DC.
int ScreenCaptionWidth(const wchar_t* caption, HFONT font)
{
    WindowDc screen(nullptr);
    SelectionScope selected(screen.get(), font);
    RECT rect = {0, 0, 1000, 1000};
    DrawTextW(screen.get(), caption, -1, &rect, DT_CALCRECT | DT_SINGLELINE | DT_NOPREFIX);
    return rect.right;
}

TEST_F(OwnerDraw, CaptionMeasuresAsOnTheScreenWithAndWithoutTheMenuFont)
{
    CSDKelMN& h = object();
    for (const wchar_t* caption : {L"Transferred with Pelloc", L"以Pelloc 传输", L"&Mit Pelloc übertragen"}) {
        SCOPED_TRACE(testing::Message() << "caption " << testing::PrintToString(std::wstring(caption)));
        lstrcpyW(HandlerInspector::CaptionOf(h), caption);
        HandlerInspector::MeasureCaption(h);
        EXPECT_GT(HandlerInspector::CaptionWidthOf(h), 0);
        EXPECT_EQ(HandlerInspector::CaptionWidthOf(h), ScreenCaptionWidth(caption, HandlerInspector::MenuFontOf(h)));

        // Newer systems never make the menu font: the caption is measured in the DC's own.
        UniqueFont menuFont(std::exchange(HandlerInspector::MenuFontOf(h), nullptr));
        HandlerInspector::MeasureCaption(h);
        EXPECT_EQ(HandlerInspector::CaptionWidthOf(h), ScreenCaptionWidth(caption, nullptr));
        HandlerInspector::MenuFontOf(h) = menuFont.release();
    }
}

TEST_F(OwnerDraw, MenuFontIsRecreatedOnlyWhenTheSystemFontChanged)
{
    const LOGFONTW system = SystemMenuFont();
    CSDKelMN& h = object();
    HFONT font = HandlerInspector::MenuFontOf(h);
    ASSERT_NE(font, nullptr);
    EXPECT_EQ(std::memcmp(&HandlerInspector::MenuLogFontOf(h), &system, sizeof(LOGFONTW)), 0);
    HandlerInspector::RefreshMenuFont(h);
    EXPECT_EQ(HandlerInspector::MenuFontOf(h), font);

    // As if the system's menu font had been another one when the font was made.
    HandlerInspector::MenuLogFontOf(h).lfHeight += 3;
    HandlerInspector::RefreshMenuFont(h);
    EXPECT_NE(HandlerInspector::MenuFontOf(h), nullptr);
    LOGFONTW old = {};
    EXPECT_EQ(GetObjectW(font, sizeof(old), &old), 0) << "the old font must be deleted";
    EXPECT_EQ(std::memcmp(&HandlerInspector::MenuLogFontOf(h), &system, sizeof(LOGFONTW)), 0);
}

} // namespace
} // namespace quillet
