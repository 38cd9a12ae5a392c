#include "module/shell_handler_keys.h"

#include <windows.h>
#include <shlwapi.h>

#include "quillet_idl.h"

namespace quillet {
namespace {

// The trailing backslash is part of the key names as they have always been written.
constexpr const wchar_t* kHandlerKeys[] = {
    L"*\\shellex\\ContextMenuHandlers\\FTKel\\",
    L"Directory\\shellex\\ContextMenuHandlers\\FTKel\\",
    L"Folder\\shellex\\ContextMenuHandlers\\FTKel\\",
    L"lnkfile\\shellex\\ContextMenuHandlers\\FTKel\\",
};

} // namespace

void WriteShellHandlerKeys()
{
    wchar_t clsid[64] = {};
    if (StringFromGUID2(CLSID_FTKelMN, clsid, 64) <= 0)
        return;
    const DWORD bytes = static_cast<DWORD>((lstrlenW(clsid) + 1) * sizeof(wchar_t));
    for (const wchar_t* keyName : kHandlerKeys) {
        HKEY key = nullptr;
        if (RegCreateKeyExW(HKEY_CLASSES_ROOT, keyName, 0, nullptr, REG_OPTION_NON_VOLATILE,
                            KEY_READ | KEY_WRITE, nullptr, &key, nullptr) == ERROR_SUCCESS) {
            RegSetValueExW(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(clsid), bytes);
        }
        if (key)
            RegCloseKey(key);
    }
}

void DeleteShellHandlerKeys()
{
    for (const wchar_t* keyName : kHandlerKeys)
        SHDeleteKeyW(HKEY_CLASSES_ROOT, keyName); // a missing key is no error
}

} // namespace quillet
