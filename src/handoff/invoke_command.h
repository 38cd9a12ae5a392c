// The command chosen: whose verb it is, then the selection handed to the sender.
#pragma once
#include <windows.h>
#include <shlobj.h>

#include "selection/selected_item.h"

namespace quillet {

// InvokeCommand's work. The verb is the command's when it is the offset 0 or menuItemState,
// or the caption in any letter case; another verb gives E_INVALIDARG and leaves items alone.
// An accepted verb spends items: written as a transfer list (E_INVALIDARG when none could be
// written), and the sender started with it when it is installed (S_OK all the same).
HRESULT RunCommand(const CMINVOKECOMMANDINFO* info, const wchar_t* caption, int menuItemState,
                   SelectedItems& items);

} // namespace quillet
