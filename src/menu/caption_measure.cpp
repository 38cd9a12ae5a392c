// The menu font and the caption's width in it.
#include <cstddef>
#include <cstring>

#include "module/handler.h"
#include "platform/handles.h"

namespace quillet {
namespace {

// The structure without iPaddedBorderWidth: every Windows version accepts this size.
constexpr UINT kClassicNonClientMetricsSize = offsetof(NONCLIENTMETRICSW, iPaddedBorderWidth);

} // namespace

void CSDKelMN::MeasureCaption()
{
    RECT rect = {0, 0, 1000, 1000};
    // A DC made for the screen measures as the screen's own (same default font, same pixels
    // per inch) without taking one of the shared screen DCs.
    UniqueMemoryDc screen(CreateCompatibleDC(nullptr));
    if (screen) {
        SelectionScope font(screen.get(), m_hMenuFont);
        DrawTextW(screen.get(), m_menuCaption, -1, &rect, DT_CALCRECT | DT_SINGLELINE | DT_NOPREFIX);
    }
    m_captionWidth = rect.right;
}

void CSDKelMN::RefreshMenuFont()
{
    NONCLIENTMETRICSW metrics = {};
    metrics.cbSize = kClassicNonClientMetricsSize;
    SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, kClassicNonClientMetricsSize, &metrics, 0);
    // Fonts are a scarce resource in Explorer: a new one only when the system's menu font changed.
    if (std::memcmp(&metrics.lfMenuFont, &m_menuLogFont, sizeof(LOGFONTW)) == 0)
        return;
    m_menuLogFont = metrics.lfMenuFont;
    UniqueFont old(m_hMenuFont);
    m_hMenuFont = CreateFontIndirectW(&m_menuLogFont);
}

} // namespace quillet
