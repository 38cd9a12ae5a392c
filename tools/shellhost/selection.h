// The shell's data object for a set of paths, made the way Explorer makes it.
#pragma once
#include <windows.h>
#include <shlobj.h>
#include <wrl/client.h>

#include <string>
#include <vector>

struct ShellSelection {
    Microsoft::WRL::ComPtr<IDataObject> dataObject;
    PIDLIST_ABSOLUTE folder = nullptr; // the parent folder handed to Initialize (null: desktop)
    ~ShellSelection() { CoTaskMemFree(folder); }
};

// Items in one folder: that folder's IShellFolder::GetUIObjectOf. Items in several folders:
// a data object rooted at the desktop over the full item IDs, as a search-results view has it.
HRESULT MakeShellSelection(const std::vector<std::wstring>& paths, ShellSelection& selection, std::wstring& error);
