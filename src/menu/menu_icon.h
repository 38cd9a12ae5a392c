// The command's picture for scaled displays.
#pragma once
#include <windows.h>

#include "platform/handles.h"

namespace quillet {

// PNG resource `id` of the module scaled for the display, as a 32-bit bitmap with alpha; null at
// 96 DPI, on Windows XP and on any failure (the callers then use the 16 x 16 bitmap).
// Needs GDI+ started.
UniqueBitmap LoadPngMenuIcon(UINT id);

} // namespace quillet
