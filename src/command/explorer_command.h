// CQuilletCommand: the IExplorerCommand Windows 11 asks for the top-level context menu. It keeps
// no state between calls; each method asks the same caption, sender and hand-off routines as the
// classic handler at the moment it is called.
#pragma once
#include <windows.h>
#include <shobjidl.h>

#include <string>

#include "selection/selected_item.h"

namespace quillet {

// ECS_HIDDEN when "MenuOption" is 0, when the sender is not installed or when no item has a
// file-system path; ECS_ENABLED otherwise. Reads no item's file and resolves no shortcut.
EXPCMDSTATE CommandState(IShellItemArray* items);
// Each item's file-system path in the array's order, marked file or folder; items without one
// are left out.
void CollectFileSystemItems(IShellItemArray* items, SelectedItems& selection);
// Invoke's work: E_INVALIDARG, with nothing written and nothing started, when no item has a
// path; else the classic command's hand-over.
HRESULT RunExplorerCommand(IShellItemArray* items);
// "<full path of the module>,-<icon id>", as Explorer loads an icon from a resource.
std::wstring CommandIconLocation(HINSTANCE module);

// The class factory's creator (no aggregation; ppv not null).
HRESULT CreateExplorerCommand(IUnknown* outer, REFIID riid, void** ppv);

} // namespace quillet
