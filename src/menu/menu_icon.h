// The command's pictures.
#pragma once
#include <windows.h>

#include "menu/menu_presentation.h"
#include "platform/handles.h"

namespace quillet {

// PNG resource `id` of the module scaled for the display, as a 32-bit bitmap with alpha; null at
// 96 DPI, on Windows XP and on any failure (the callers then use the 16 x 16 bitmap).
// Needs GDI+ started.
UniqueBitmap LoadPngMenuIcon(HINSTANCE module, UINT id);

// m_hbmpMenuIcon, unless loaded already: the PNG for a scaled display after Windows XP, else
// the 16 x 16 bitmap. Needs GDI+ started.
void LoadMenuIcon(MenuPresentation& menu, const MenuResources& resources);
// m_hbmpMenuCheck, unless loaded already: the 13 x 13 bitmap.
void LoadMenuCheckBitmap(MenuPresentation& menu, const MenuResources& resources);

} // namespace quillet
