// The handler's menu picture as Windows Vista and later show it, for screenshots under Wine.
//
// Wine paints a check-mark bitmap as Windows XP did: copied without its alpha channel, so a
// 32-bit picture shows on black and cut to the check-mark size. Windows Vista and later blend
// it with its alpha onto the menu instead.
#pragma once
#include <windows.h>

// Takes the picture from the unchecked check-mark slot of the item at `position`, blends it
// with its alpha onto the menu background colour into an opaque bitmap of the same size, and
// shows that as the item's own bitmap (hbmpItem) with the check-mark slots cleared. Returns the
// opaque bitmap, which the caller deletes after the menu; null when the item has no picture.
HBITMAP ShowPictureBlended(HMENU menu, UINT position);
