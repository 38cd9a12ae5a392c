// GDI+ headers, which expect min and max that NOMINMAX takes away.
#pragma once
#include <windows.h>

#include <algorithm>
namespace Gdiplus {
using std::max;
using std::min;
} // namespace Gdiplus
#include <gdiplus.h>
