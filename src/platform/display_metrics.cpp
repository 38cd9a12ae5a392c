#include "platform/display_metrics.h"

#include "platform/handles.h"

namespace quillet {

void MeasureDisplayScale(DisplayScale& record, bool measure)
{
    record.scaled = measure;
    int dpi = 96;
    if (measure) {
        if (WindowDc screen(nullptr); screen)
            dpi = GetDeviceCaps(screen.get(), LOGPIXELSX);
    }
    record.dpi = static_cast<std::uint32_t>(dpi);
    record.percent = MulDiv(dpi, 100, 96);
    if (record.percent == 100)
        record.scaled = false;
}

UINT MenuCheckWidth()
{
    return static_cast<UINT>(GetSystemMetrics(SM_CXMENUCHECK) + 6);
}

UINT MenuCheckHeight()
{
    return static_cast<UINT>(GetSystemMetrics(SM_CYMENUCHECK) + 5);
}

} // namespace quillet
