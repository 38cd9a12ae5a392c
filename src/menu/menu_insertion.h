// Whether and how the command goes into a context menu.
#pragma once
#include <windows.h>

#include <atomic>

#include "menu/menu_presentation.h"

namespace quillet {

// QueryContextMenu's work. E_FAIL for a verbs-only request, with "MenuOption" 0, or for the
// menu filled last (lastQueriedMenu, shared by all handlers on all threads: the shell may ask
// several times for one menu); 0 when the sender is missing; else the item inserted at indexMenu with
// identifier idCmdFirst, in the form the system calls for, and 1 (one identifier used).
HRESULT InsertMenuCommand(MenuPresentation& menu, const MenuResources& resources, std::atomic<HMENU>& lastQueriedMenu,
                          HMENU hmenu, UINT indexMenu, UINT idCmdFirst, UINT flags);

} // namespace quillet
