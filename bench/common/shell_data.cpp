#include "shell_data.h"

#include <shlobj.h>

HRESULT ShellDataObject(const std::wstring& path, IDataObject** data)
{
    PIDLIST_ABSOLUTE id = nullptr;
    HRESULT hr = SHParseDisplayName(path.c_str(), nullptr, &id, 0, nullptr);
    if (FAILED(hr))
        return hr;
    IShellFolder* parent = nullptr;
    PCUITEMID_CHILD child = nullptr;
    hr = SHBindToParent(id, IID_IShellFolder, reinterpret_cast<void**>(&parent), &child);
    if (SUCCEEDED(hr)) {
        hr = parent->GetUIObjectOf(nullptr, 1, &child, IID_IDataObject, nullptr, reinterpret_cast<void**>(data));
        parent->Release();
    }
    CoTaskMemFree(id);
    return hr;
}
