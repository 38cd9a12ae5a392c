// The owner-drawn item of older systems: the menu messages the shell passes on.
#pragma once
#include <windows.h>

#include "menu/menu_presentation.h"

namespace quillet {

// WM_MEASUREITEM and WM_DRAWITEM for the item m_idCmdFirst: measured or painted, and TRUE
// written through result when it is not null. Every other message, another item's structure
// or a missing one is left alone.
void HandleMenuMessage(MenuPresentation& menu, const MenuResources& resources, UINT message, LPARAM lParam,
                       LRESULT* result);

} // namespace quillet
