// Display scale and menu check-mark metrics.
#pragma once
#include <windows.h>

#include <cstdint>

namespace quillet {

struct DisplayScale {
    std::int32_t percent = 100;
    std::uint32_t secondDpi = 96; // kept at 96; never measured
    std::uint32_t dpi = 96;
    bool scaled = false;
};

// With measure set, reads the screen's logical pixels per inch (96 if no screen DC).
void MeasureDisplayScale(DisplayScale& record, bool measure);
UINT MenuCheckWidth();
UINT MenuCheckHeight();

} // namespace quillet
