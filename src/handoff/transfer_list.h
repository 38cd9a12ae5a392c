// The transfer list: the file through which the selection reaches the sender.
#pragma once
#include <string>

#include "selection/selected_item.h"

namespace quillet {

// A fresh name in the user's temporary folder (prefix, unique hex number, .tmp), not yet
// created; "" when the folder or name cannot be had.
std::wstring MakeTempFileName(const wchar_t* prefix);

// Writes items as UTF-16LE with a byte-order mark: "[tag]", then the files under
// "[filelist]" and the folders under "[pathlist]", each section numbered from 0. Moves the
// files before the folders in items. True when the file was opened, else false and nothing
// written.
bool WriteTransferList(SelectedItems& items, const wchar_t* fileName);

} // namespace quillet
