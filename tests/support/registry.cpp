#include "support/registry.h"

#include <map>

#include "platform/handles.h"

namespace quillet::test {
namespace {

void Collect(const std::wstring& path, RegistryState& state)
{
    const UniqueRegKey key = OpenKey(HKEY_CLASSES_ROOT, path, KEY_READ);
    if (!key)
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
    // The state is a set: the order subkeys come in does not matter.
    for (DWORD index = 0;; ++index) {
        wchar_t name[256];
        DWORD length = 256;
        if (RegEnumKeyExW(key.get(), index, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
            break;
        Collect(path + L"\\" + std::wstring(name, length), state);
    }
}

} // namespace

RegistryState ClassesState(const std::vector<std::wstring>& paths)
{
    RegistryState state;
    for (const std::wstring& path : paths)
        Collect(path, state);
    return state;
}

bool WriteString(HKEY root, const std::wstring& subKey, const std::wstring& valueName, const std::wstring& data)
{
    // Makes the key if it is missing.
    return RegSetKeyValueW(root, subKey.c_str(), valueName.empty() ? nullptr : valueName.c_str(), REG_SZ, data.c_str(),
                           static_cast<DWORD>((data.size() + 1) * sizeof(wchar_t))) == ERROR_SUCCESS;
}

} // namespace quillet::test
