#include <cstring>

#include "menu/menu_insertion.h"
#include "platform/handles.h"

namespace quillet {

DWORD ReadMenuOption()
{
    // The sender is a 32-bit program: its profile lives in the 32-bit view.
    UniqueRegKey key;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Pelloc\\Profile", 0, KEY_QUERY_VALUE | KEY_WOW64_32KEY,
                      key.put()) != ERROR_SUCCESS) {
        key.release();
        return 1;
    }
    BYTE data[4096] = {};
    DWORD type = 0;
    DWORD size = sizeof(data);
    if (RegQueryValueExW(key.get(), L"MenuOption", nullptr, &type, data, &size) != ERROR_SUCCESS ||
        type != REG_DWORD)
        return 1;
    DWORD value = 0;
    std::memcpy(&value, data, sizeof(value));
    return value;
}

} // namespace quillet
