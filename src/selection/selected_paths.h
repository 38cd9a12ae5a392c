// The paths of the last selection that had items, kept for the whole module.
#pragma once
#include <windows.h>

#include <string>
#include <vector>

#include "platform/handles.h"

namespace quillet {

// Handlers on several threads fill it at once: each builds its list alone and swaps it in,
// so the lock is held for the swap and nothing else.
class SelectedPathList {
public:
    // The list becomes paths; the one it replaces is freed after the lock is left.
    void Replace(std::vector<std::wstring> paths);
    std::vector<std::wstring> Copy();

private:
    CriticalSection m_lock;
    std::vector<std::wstring> m_paths;
};

} // namespace quillet
