// The command chosen: whose verb it is, then the selection handed to the sender.
#pragma once
#include <windows.h>
#include <shlobj.h>

#include "selection/selected_item.h"

namespace quillet {

// Whether info names the command: a pointer below 0x10000 is an offset, accepted when it is 0
// or menuItemState; any other is a string verb (lpVerbW when cbSize is that of
// CMINVOKECOMMANDINFOEX, else lpVerb in the thread's code page), accepted when it is the
// caption in any letter case. A wide verb below 0x10000 is never read and never accepted.
bool AcceptsVerb(const CMINVOKECOMMANDINFO& info, const wchar_t* caption, int menuItemState);

// Writes items as a transfer list and starts the sender with it when the sender is installed.
// Items are spent either way. E_INVALIDARG when no list could be written (items empty, no
// temporary folder), else S_OK whether or not a sender was started.
HRESULT HandOverSelection(SelectedItems& items);

// InvokeCommand's work: E_INVALIDARG for another verb (items left alone), else
// HandOverSelection.
HRESULT RunCommand(const CMINVOKECOMMANDINFO* info, const wchar_t* caption, int menuItemState,
                   SelectedItems& items);

} // namespace quillet
