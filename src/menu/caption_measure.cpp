#include "menu/caption_measure.h"

#include <cstddef>
#include <cstring>

namespace quillet {
namespace {

// The structure without iPaddedBorderWidth: every Windows version accepts this size.
constexpr UINT kClassicNonClientMetricsSize = offsetof(NONCLIENTMETRICSW, iPaddedBorderWidth);

} // namespace

void MeasureCaption(MenuPresentation& menu)
{
    RECT rect = {0, 0, 1000, 1000};
    // A DC made for the screen measures as the screen's own (same default font, same pixels
    // per inch) without taking one of the shared screen DCs.
    UniqueMemoryDc screen(CreateCompatibleDC(nullptr));
    if (screen) {
        SelectionScope font(screen.get(), menu.m_hMenuFont.get());
        DrawTextW(screen.get(), menu.m_menuCaption, -1, &rect, DT_CALCRECT | DT_SINGLELINE | DT_NOPREFIX);
    }
    menu.m_captionWidth = rect.right;
}

void RefreshMenuFont(MenuPresentation& menu)
{
    NONCLIENTMETRICSW metrics = {};
    metrics.cbSize = kClassicNonClientMetricsSize;
    SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, kClassicNonClientMetricsSize, &metrics, 0);
    // Fonts are a scarce resource in Explorer: a new one only when the system's menu font changed.
    if (std::memcmp(&metrics.lfMenuFont, &menu.m_menuLogFont, sizeof(LOGFONTW)) == 0)
        return;
    menu.m_menuLogFont = metrics.lfMenuFont;
    menu.m_hMenuFont.reset(CreateFontIndirectW(&menu.m_menuLogFont));
}

} // namespace quillet
