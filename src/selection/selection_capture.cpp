#include "selection/selection_capture.h"

#include <shlwapi.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "platform/handles.h"
#include "platform/wow64_redirector.h"
#include "selection/drop_list_reader.h"

namespace quillet {
namespace {

// The text after the last dot anywhere in the path (a dot in a folder name counts), or
// the whole path, compared with "lnk" regardless of ASCII case.
bool HasShortcutExtension(std::wstring_view path)
{
    const size_t dot = path.rfind(L'.');
    const std::wstring_view extension = dot == std::wstring_view::npos ? path : path.substr(dot + 1);
    constexpr std::wstring_view kShortcut = L"lnk";
    // Its letters are all small: setting bit 5 folds each one's capital, and only that, onto it.
    return std::equal(extension.begin(), extension.end(), kShortcut.begin(), kShortcut.end(),
                      [](wchar_t a, wchar_t b) { return (a | 0x20) == b; });
}

// Here paths of MAX_PATH characters or more are cut to MAX_PATH - 1; the records keep them whole.
// Resolving shortcuts is slow, so the list is built here, away from the shared one.
std::vector<std::wstring> ListSelectedPaths(DropListReader& reader, UINT count)
{
    std::vector<std::wstring> paths;
    for (UINT index = 0; index < count; ++index) {
        wchar_t buffer[MAX_PATH] = {};
        reader.QueryFile(index, buffer, MAX_PATH);
        const int length = lstrlenW(buffer);
        if (length == 0)
            continue;
        const std::wstring_view path(buffer, static_cast<size_t>(length));
        if (HasShortcutExtension(path)) {
            std::wstring target = ResolveShortcutTarget(buffer);
            if (PathFileExistsW(target.c_str()))
                paths.push_back(std::move(target));
        }
        paths.emplace_back(path);
    }
    return paths;
}

} // namespace

HRESULT CaptureSelection(IDataObject* data, SelectedItems& items, SelectedPathList& paths)
{
    if (!data)
        return E_FAIL;
    FORMATETC format = {CF_HDROP, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
    UniqueStgMedium medium;
    if (FAILED(data->GetData(&format, medium.put()))) {
        medium.get() = {}; // a failed call hands over nothing to release
        return E_FAIL;     // the previous selection is kept, on purpose
    }
    // Anything but global memory cannot be a drop list; locking it would misread it.
    if (medium.get().tymed != TYMED_HGLOBAL)
        return E_FAIL;

    const HGLOBAL global = medium.get().hGlobal;
    GlobalLockScope<void> lock(global);
    const auto dropList = static_cast<HDROP>(lock.get());
    const SIZE_T dropListBytes = GlobalSize(global);
    DropListReader reader(dropList, dropListBytes);
    const UINT count = CountDropList(dropList, reader);
    if (count < 1) {
        CollectSelectedItems(dropList, dropListBytes, items);
        return E_FAIL;
    }

    std::vector<std::wstring> selectedPaths;
    {
        CWow64FsRedirector redirector;
        selectedPaths = ListSelectedPaths(reader, count);
    }
    // The last selection that had items wins, whichever thread made it.
    paths.Replace(std::move(selectedPaths));
    CollectSelectedItems(dropList, dropListBytes, items);
    return S_OK;
}

} // namespace quillet
