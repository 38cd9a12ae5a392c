#include "selection.h"

#include <shlwapi.h>

namespace {

struct ItemIds {
    std::vector<PIDLIST_ABSOLUTE> ids;
    ~ItemIds()
    {
        for (PIDLIST_ABSOLUTE id : ids)
            CoTaskMemFree(id);
    }
};

} // namespace

HRESULT MakeShellSelection(const std::vector<std::wstring>& paths, ShellSelection& selection, std::wstring& error)
{
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

    bool sameParent = true;
    for (size_t i = 1; i < items.ids.size() && sameParent; ++i) {
        PIDLIST_ABSOLUTE a = ILClone(items.ids[0]);
        PIDLIST_ABSOLUTE b = ILClone(items.ids[i]);
        ILRemoveLastID(a);
        ILRemoveLastID(b);
        sameParent = ILIsEqual(a, b) != FALSE;
        CoTaskMemFree(a);
        CoTaskMemFree(b);
    }

    if (sameParent) {
        Microsoft::WRL::ComPtr<IShellFolder> parent;
        PCUITEMID_CHILD first = nullptr;
        HRESULT hr = SHBindToParent(items.ids[0], IID_IShellFolder, reinterpret_cast<void**>(parent.GetAddressOf()),
                                    &first);
        if (FAILED(hr)) {
            error = L"cannot open the folder of " + paths[0];
            return hr;
        }
        std::vector<PCUITEMID_CHILD> children;
        for (PIDLIST_ABSOLUTE id : items.ids)
            children.push_back(ILFindLastID(id));
        hr = parent->GetUIObjectOf(nullptr, static_cast<UINT>(children.size()), children.data(), IID_IDataObject,
                                   nullptr, reinterpret_cast<void**>(selection.dataObject.GetAddressOf()));
        if (FAILED(hr)) {
            error = L"the folder gave no data object";
            return hr;
        }
        selection.folder = ILClone(items.ids[0]);
        ILRemoveLastID(selection.folder);
        return S_OK;
    }

    std::vector<PCUITEMID_CHILD> ids(items.ids.begin(), items.ids.end());
    const HRESULT hr = SHCreateDataObject(nullptr, static_cast<UINT>(ids.size()), ids.data(), nullptr,
                                          IID_IDataObject, reinterpret_cast<void**>(selection.dataObject.GetAddressOf()));
    if (FAILED(hr))
        error = L"the shell made no data object for items in several folders";
    return hr;
}
