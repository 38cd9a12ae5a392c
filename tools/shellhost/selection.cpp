#include "selection.h"

#include <shlwapi.h>

#include <cstdio>
#include <cstring>
#include <new>

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

// Serves one CF_HDROP block: used only where the shell cannot make a data object itself.
class DropListDataObject final : public IDataObject {
public:
    explicit DropListDataObject(HGLOBAL block) : m_block(block) {}
    ~DropListDataObject() { GlobalFree(m_block); }
    DropListDataObject(const DropListDataObject&) = delete;
    DropListDataObject& operator=(const DropListDataObject&) = delete;

    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override
    {
        if (!ppv)
            return E_POINTER;
        if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IDataObject)) {
            *ppv = static_cast<IDataObject*>(this);
            AddRef();
            return S_OK;
        }
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_refs; }
    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG refs = --m_refs;
        if (refs == 0)
            delete this;
        return refs;
    }
    STDMETHODIMP GetData(FORMATETC* format, STGMEDIUM* medium) override
    {
        if (!format || !medium)
            return E_INVALIDARG;
        if (QueryGetData(format) != S_OK)
            return DV_E_FORMATETC;
        const SIZE_T size = GlobalSize(m_block);
        HGLOBAL copy = GlobalAlloc(GMEM_MOVEABLE, size);
        void* target = copy ? GlobalLock(copy) : nullptr;
        void* source = GlobalLock(m_block);
        if (!target || !source) {
            if (copy)
                GlobalFree(copy);
            return E_OUTOFMEMORY;
        }
        memcpy(target, source, size);
        GlobalUnlock(m_block);
        GlobalUnlock(copy);
        medium->tymed = TYMED_HGLOBAL;
        medium->hGlobal = copy;
        medium->pUnkForRelease = nullptr;
        return S_OK;
    }
    STDMETHODIMP QueryGetData(FORMATETC* format) override
    {
        return format && format->cfFormat == CF_HDROP && (format->tymed & TYMED_HGLOBAL) ? S_OK : DV_E_FORMATETC;
    }
    STDMETHODIMP GetDataHere(FORMATETC*, STGMEDIUM*) override { return E_NOTIMPL; }
    STDMETHODIMP GetCanonicalFormatEtc(FORMATETC*, FORMATETC* out) override
    {
        if (out)
            out->ptd = nullptr;
        return DATA_S_SAMEFORMATETC;
    }
    STDMETHODIMP SetData(FORMATETC*, STGMEDIUM*, BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP EnumFormatEtc(DWORD, IEnumFORMATETC**) override { return E_NOTIMPL; }
    STDMETHODIMP DAdvise(FORMATETC*, DWORD, IAdviseSink*, DWORD*) override { return OLE_E_ADVISENOTSUPPORTED; }
    STDMETHODIMP DUnadvise(DWORD) override { return OLE_E_ADVISENOTSUPPORTED; }
    STDMETHODIMP EnumDAdvise(IEnumSTATDATA**) override { return OLE_E_ADVISENOTSUPPORTED; }

private:
    ULONG m_refs = 1;
    HGLOBAL m_block;
};

HRESULT MakeDropListDataObject(const std::vector<std::wstring>& paths, IDataObject** dataObject)
{
    size_t characters = 1;
    for (const std::wstring& path : paths)
        characters += path.size() + 1;
    HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, sizeof(DROPFILES) + characters * sizeof(wchar_t));
    auto* header = block ? static_cast<DROPFILES*>(GlobalLock(block)) : nullptr;
    if (!header) {
        if (block)
            GlobalFree(block);
        return E_OUTOFMEMORY;
    }
    header->pFiles = sizeof(DROPFILES);
    header->fWide = TRUE;
    auto* names = reinterpret_cast<wchar_t*>(header + 1);
    for (const std::wstring& path : paths) {
        memcpy(names, path.c_str(), (path.size() + 1) * sizeof(wchar_t));
        names += path.size() + 1;
    }
    GlobalUnlock(block);
    auto* object = new (std::nothrow) DropListDataObject(block);
    if (!object) {
        GlobalFree(block);
        return E_OUTOFMEMORY;
    }
    *dataObject = object;
    return S_OK;
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
        hr = MakeDropListDataObject(paths, selection.dataObject.GetAddressOf());
    }
    if (FAILED(hr))
        error = L"no data object for items in several folders";
    return hr;
}
