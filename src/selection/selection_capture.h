// Turning the shell's drop list into the handler's selection.
#pragma once
#include <windows.h>
#include <shellapi.h>

#include <string>
#include <vector>

#include "selection/selected_item.h"

namespace quillet {

// Every path of the last selection that had items, each shortcut preceded by its target.
// Nothing in the module reads it.
extern std::vector<std::wstring> g_selectedPaths;

// The target path stored in a shortcut file, or "" when it cannot be read. The link is not
// resolved, so a moved target is not searched for.
std::wstring ResolveShortcutTarget(const wchar_t* path);

// Rebuilds items from the drop list (dropListBytes: the size of its global block): 1 done,
// 0 when the list is null or one of its names cannot be read, which leaves items empty.
int CollectSelectedItems(HDROP dropList, SIZE_T dropListBytes, SelectedItems& items);

// The record for one path: a folder when it is a directory, a drive designator or
// something that cannot be opened for reading.
SelectedItem MakeSelectedItem(std::wstring path);

} // namespace quillet
