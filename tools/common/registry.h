// Registry values a test or tool sets and takes back when it ends.
#pragma once
#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/handles.h"

namespace quillet::test {

// Sets one value for the life of the object; the old value (or its absence) comes back after.
class ScopedRegistryValue {
public:
    ScopedRegistryValue(HKEY root, std::wstring subKey, std::wstring valueName, REGSAM view = 0);
    ~ScopedRegistryValue();
    ScopedRegistryValue(const ScopedRegistryValue&) = delete;
    ScopedRegistryValue& operator=(const ScopedRegistryValue&) = delete;

    void SetString(const std::wstring& data);
    void SetDword(DWORD data);
    void SetRaw(DWORD type, const void* data, DWORD bytes);
    void Delete();

private:
    HKEY m_root;
    std::wstring m_subKey;
    std::wstring m_valueName;
    REGSAM m_view;
    bool m_keyExisted = false;
    std::optional<std::pair<DWORD, std::vector<BYTE>>> m_old;
};

// The key opened with the access asked for, or none.
UniqueRegKey OpenKey(HKEY root, const std::wstring& subKey, REGSAM access);
// Removes a key with all below it.
void DeleteTree(HKEY root, const std::wstring& subKey, REGSAM view = 0);

} // namespace quillet::test
