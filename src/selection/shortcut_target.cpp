#include <shlobj.h>
#include <wrl/client.h>

#include <cwchar>

#include "selection/selection_capture.h"

namespace quillet {

std::wstring ResolveShortcutTarget(const wchar_t* path)
{
    wchar_t target[MAX_PATH] = {};
    // Undone only when it succeeded: in a host thread of the other apartment model it fails,
    // and uninitialising then would take away the host's own COM.
    const HRESULT com = CoInitialize(nullptr);
    {
        Microsoft::WRL::ComPtr<IShellLinkW> link;
        if (SUCCEEDED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&link)))) {
            Microsoft::WRL::ComPtr<IPersistFile> file;
            link.As(&file);
            if (file && SUCCEEDED(file->Load(path, STGM_READ)))
                link->GetPath(target, MAX_PATH, nullptr, SLGP_UNCPRIORITY);
        }
    }
    if (SUCCEEDED(com))
        CoUninitialize();
    return std::wstring(target, wcsnlen(target, MAX_PATH));
}

} // namespace quillet
