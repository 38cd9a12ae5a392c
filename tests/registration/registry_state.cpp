#include "registry_state.h"

#include <windows.h>

#include <map>

#include "platform/handles.h"
#include "support/registry.h"

namespace quillet::test {
namespace {

void Collect(const std::wstring& path, RegistryState& state)
{
    UniqueRegKey key;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, KEY_READ, key.put()) != ERROR_SUCCESS)
        return;
    std::map<std::wstring, std::wstring> values;
    for (DWORD index = 0;; ++index) {
        wchar_t name[256] = {}, data[1024] = {};
        DWORD nameLength = 256, type = 0, bytes = sizeof(data) - sizeof(wchar_t);
        if (RegEnumValueW(key.get(), index, name, &nameLength, nullptr, &type, reinterpret_cast<BYTE*>(data),
                          &bytes) != ERROR_SUCCESS)
            break;
        const bool oneString = type == REG_SZ && bytes == (wcslen(data) + 1) * sizeof(wchar_t);
        values[nameLength == 0 ? L"@" : name] =
            oneString ? L"'" + std::wstring(data) + L"'"
                      : L"<type " + std::to_wstring(type) + L", " + std::to_wstring(bytes) + L" bytes>";
    }
    std::wstring line = path;
    for (const auto& [name, value] : values)
        line += L" " + name + L"=" + value;
    state.insert(line);
    for (const std::wstring& subkey : SubKeyNames(key.get(), L""))
        Collect(path + L"\\" + subkey, state);
}

} // namespace

RegistryState ClassesState(const std::vector<std::wstring>& paths)
{
    RegistryState state;
    for (const std::wstring& path : paths)
        Collect(path, state);
    return state;
}

} // namespace quillet::test
