// Turning the shell's drop list into the handler's selection.
#pragma once
#include <windows.h>
#include <objidl.h>
#include <shellapi.h>

#include <string>
#include <vector>

#include "selection/selected_item.h"
#include "selection/selected_paths.h"

namespace quillet {

// IShellExtInit::Initialize's work: the drop list of `data` into items, each marked file or
// folder, and into paths (cut to MAX_PATH - 1, each shortcut preceded by its target). E_FAIL
// without a drop list, leaving both alone, or with an empty one, which empties items only.
HRESULT CaptureSelection(IDataObject* data, SelectedItems& items, SelectedPathList& paths);

// The target path stored in a shortcut file, or "" when it cannot be read. The link is not
// resolved, so a moved target is not searched for.
std::wstring ResolveShortcutTarget(const wchar_t* path);

// Rebuilds items from the drop list (dropListBytes: the size of its global block); a null list,
// or one whose names cannot all be read, leaves items empty.
void CollectSelectedItems(HDROP dropList, SIZE_T dropListBytes, SelectedItems& items);

// The record for one path: a folder when it is a directory, a drive designator or
// something that cannot be opened for reading.
SelectedItem MakeSelectedItem(std::wstring path);

} // namespace quillet
