#include "registration/shell_handler_keys.h"

#include <windows.h>
#include <shlwapi.h>

#include "platform/handles.h"
#include "quillet_idl.h"

namespace quillet {
namespace {

// Each name ends in a backslash, which the registry ignores.
constexpr const wchar_t* kHandlerKeys[] = {
    L"*\\shellex\\ContextMenuHandlers\\FTKel\\",
    L"Directory\\shellex\\ContextMenuHandlers\\FTKel\\",
    L"Folder\\shellex\\ContextMenuHandlers\\FTKel\\",
    L"lnkfile\\shellex\\ContextMenuHandlers\\FTKel\\",
};

// Room for a braced GUID (38 characters and the terminating zero), with some to spare.
constexpr int kGuidTextChars = 64;

} // namespace

void WriteShellHandlerKeys()
{
    wchar_t clsid[kGuidTextChars] = {};
    if (StringFromGUID2(CLSID_FTKelMN, clsid, kGuidTextChars) == 0)
        return;
    const DWORD bytes = static_cast<DWORD>((lstrlenW(clsid) + 1) * sizeof(wchar_t));
    for (const wchar_t* name : kHandlerKeys) {
        UniqueRegKey key;
        if (RegCreateKeyExW(HKEY_CLASSES_ROOT, name, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_READ | KEY_WRITE,
                            nullptr, key.put(), nullptr) == ERROR_SUCCESS)
            RegSetValueExW(key.get(), nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(clsid), bytes);
    }
}

void DeleteShellHandlerKeys()
{
    for (const wchar_t* name : kHandlerKeys)
        SHDeleteKeyW(HKEY_CLASSES_ROOT, name);
}

} // namespace quillet
