#include "common/registry.h"

#include "platform/handles.h"

namespace quillet::test {

UniqueRegKey OpenKey(HKEY root, const std::wstring& subKey, REGSAM access)
{
    UniqueRegKey key;
    if (RegOpenKeyExW(root, subKey.c_str(), 0, access, key.put()) != ERROR_SUCCESS)
        key.release();
    return key;
}

ScopedRegistryValue::ScopedRegistryValue(HKEY root, std::wstring subKey, std::wstring valueName, REGSAM view)
    : m_root(root), m_subKey(std::move(subKey)), m_valueName(std::move(valueName)), m_view(view)
{
    UniqueRegKey key = OpenKey(m_root, m_subKey, KEY_QUERY_VALUE | m_view);
    m_keyExisted = static_cast<bool>(key);
    if (!key)
        return;
    DWORD type = 0, bytes = 0;
    if (RegQueryValueExW(key.get(), m_valueName.c_str(), nullptr, &type, nullptr, &bytes) != ERROR_SUCCESS)
        return;
    std::vector<BYTE> data(bytes);
    if (RegQueryValueExW(key.get(), m_valueName.c_str(), nullptr, &type, data.data(), &bytes) == ERROR_SUCCESS) {
        data.resize(bytes);
        m_old.emplace(type, std::move(data));
    }
}

ScopedRegistryValue::~ScopedRegistryValue()
{
    if (!m_keyExisted) {
        DeleteTree(m_root, m_subKey, m_view);
        return;
    }
    if (m_old)
        SetRaw(m_old->first, m_old->second.data(), static_cast<DWORD>(m_old->second.size()));
    else
        Delete();
}

void ScopedRegistryValue::SetRaw(DWORD type, const void* data, DWORD bytes)
{
    UniqueRegKey key;
    if (RegCreateKeyExW(m_root, m_subKey.c_str(), 0, nullptr, 0, KEY_SET_VALUE | m_view, nullptr, key.put(),
                        nullptr) != ERROR_SUCCESS)
        return;
    RegSetValueExW(key.get(), m_valueName.c_str(), 0, type, static_cast<const BYTE*>(data), bytes);
}

void ScopedRegistryValue::SetString(const std::wstring& data)
{
    SetRaw(REG_SZ, data.c_str(), static_cast<DWORD>((data.size() + 1) * sizeof(wchar_t)));
}

void ScopedRegistryValue::SetDword(DWORD data)
{
    SetRaw(REG_DWORD, &data, sizeof(data));
}

void ScopedRegistryValue::Delete()
{
    UniqueRegKey key = OpenKey(m_root, m_subKey, KEY_SET_VALUE | m_view);
    if (key)
        RegDeleteValueW(key.get(), m_valueName.c_str());
}

void DeleteTree(HKEY root, const std::wstring& subKey, REGSAM view)
{
    UniqueRegKey key = OpenKey(root, subKey, KEY_ALL_ACCESS | view);
    if (!key)
        return;
    RegDeleteTreeW(key.get(), nullptr);
    key.reset();
    RegDeleteKeyExW(root, subKey.c_str(), view, 0);
}

} // namespace quillet::test
