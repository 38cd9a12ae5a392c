// One entry of the selection handed to the sender.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace quillet {

struct SelectedItem {
    std::int32_t isFolder = 0; // 1: written under [pathlist]; 0: under [filelist]
    std::wstring path;         // exactly as the shell delivered it
};

using SelectedItems = std::vector<SelectedItem>;

} // namespace quillet
