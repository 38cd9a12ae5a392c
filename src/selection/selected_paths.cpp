#include "selection/selected_paths.h"

#include <utility>

namespace quillet {

void SelectedPathList::Replace(std::vector<std::wstring> paths)
{
    {
        CriticalSectionScope held(m_lock.get());
        m_paths.swap(paths);
    }
    // paths now holds the old list, freed here, outside the lock.
}

std::vector<std::wstring> SelectedPathList::Copy()
{
    CriticalSectionScope held(m_lock.get());
    return m_paths;
}

} // namespace quillet
