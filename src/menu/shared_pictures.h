// Pictures decoded once per process. Each handler still gets a bitmap of its own, made from
// the kept pixels, and frees it itself: Explorer may hand a bitmap back to no one.
#pragma once
#include <windows.h>

#include <optional>
#include <vector>

#include "menu/menu_presentation.h"
#include "platform/handles.h"

namespace quillet {

// The layout and pixels of a 32-bit DIB section.
struct DibPixels {
    BITMAPINFOHEADER header = {};
    std::vector<BYTE> bits; // in the row order the header gives
};

// The pixels of an uncompressed 32-bit DIB section; nothing for any other bitmap.
std::optional<DibPixels> CaptureDibPixels(HBITMAP bitmap);
// A new DIB section with that layout and those pixels; null when GDI cannot make one.
UniqueBitmap CreateDibCopy(const DibPixels& pixels);

// Makes the picture `id` of the module for `variant` (a display percent, or 0 when it has none).
using PictureDecoder = UniqueBitmap (*)(HINSTANCE module, UINT id, int variant);

// A bitmap equal to what `decode(resources.module, id, variant)` makes: a copy of the kept
// pixels when the picture was decoded before in this process, else decoded now (and kept when
// it is a 32-bit DIB section). The pictures must be constants of the one module.
UniqueBitmap SharedPicture(const MenuResources& resources, UINT id, int variant, PictureDecoder decode);

} // namespace quillet
