#include "selection.h"

#include <shlwapi.h>

#include <cstdio>

#include "common/drop_data_object.h"

namespace {

struct ItemIds {
    std::vector<LPITEMIDLIST> ids;
    ItemIds() = default;
    ItemIds(const ItemIds&) = delete;
    ItemIds& operator=(const ItemIds&) = delete;
    ~ItemIds()
    {
        for (LPITEMIDLIST id : ids)
            CoTaskMemFree(id);
    }
};

std::wstring ParentOf(const std::wstring& path)
{
    std::wstring parent = path;
    parent.resize(wcslen(parent.c_str()));
    PathRemoveFileSpecW(parent.data());
    parent.resize(wcslen(parent.c_str()));
    return parent;
}

} // namespace

HRESULT MakeShellSelection(const std::vector<std::wstring>& paths, ShellSelection& selection, std::wstring& error)
{
    const std::wstring parent = ParentOf(paths[0]);
    bool sameParent = true;
    for (const std::wstring& path : paths)
        sameParent = sameParent && _wcsicmp(ParentOf(path).c_str(), parent.c_str()) == 0;

    if (sameParent) {
        // As Explorer: the folder is parsed once and asked for its items by name.
        PIDLIST_ABSOLUTE folderId = nullptr;
        HRESULT hr = SHParseDisplayName(parent.c_str(), nullptr, &folderId, 0, nullptr);
        if (FAILED(hr)) {
            error = L"cannot find the folder " + parent;
            return hr;
        }
        selection.folder = folderId;
        Microsoft::WRL::ComPtr<IShellFolder> desktop, folder;
        hr = SHGetDesktopFolder(desktop.GetAddressOf());
        if (SUCCEEDED(hr))
            hr = ILIsEmpty(folderId) ? desktop.As(&folder)
                                     : desktop->BindToObject(folderId, nullptr, IID_IShellFolder,
                                                             reinterpret_cast<void**>(folder.GetAddressOf()));
        if (FAILED(hr)) {
            error = L"cannot open the folder " + parent;
            return hr;
        }
        ItemIds items;
        for (const std::wstring& path : paths) {
            std::wstring name = PathFindFileNameW(path.c_str());
            LPITEMIDLIST id = nullptr;
            hr = folder->ParseDisplayName(nullptr, nullptr, name.data(), nullptr, &id, nullptr);
            if (FAILED(hr)) {
                error = L"cannot find " + path;
                return hr;
            }
            items.ids.push_back(id);
        }
        std::vector<PCUITEMID_CHILD> children(items.ids.begin(), items.ids.end());
        hr = folder->GetUIObjectOf(nullptr, static_cast<UINT>(children.size()), children.data(), IID_IDataObject,
                                   nullptr, reinterpret_cast<void**>(selection.dataObject.GetAddressOf()));
        if (FAILED(hr))
            error = L"the folder gave no data object";
        return hr;
    }

    // Items in several folders: a data object over full item IDs, rooted at the desktop,
    // as a search-results view makes it.
    ItemIds items;
    for (const std::wstring& path : paths) {
        PIDLIST_ABSOLUTE id = nullptr;
        const HRESULT hr = SHParseDisplayName(path.c_str(), nullptr, &id, 0, nullptr);
        if (FAILED(hr)) {
            error = L"cannot find " + path;
            return hr;
        }
        items.ids.push_back(id);
    }
    std::vector<PCUITEMID_CHILD> ids(items.ids.begin(), items.ids.end());
    HRESULT hr = SHCreateDataObject(nullptr, static_cast<UINT>(ids.size()), ids.data(), nullptr, IID_IDataObject,
                                    reinterpret_cast<void**>(selection.dataObject.GetAddressOf()));
    if (hr == E_NOTIMPL) {
        // Wine's shell cannot do this; the drop list is then made here, with the same content.
        std::fwprintf(stderr, L"shellhost: the shell made no data object for several folders; using a drop list\n");
        const auto dropList = quillet::test::DropDataObject::Create(quillet::test::WideDropFiles(paths));
        hr = dropList ? dropList.As(&selection.dataObject) : E_OUTOFMEMORY;
    }
    if (FAILED(hr))
        error = L"no data object for items in several folders";
    return hr;
}
