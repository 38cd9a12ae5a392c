// Registry changes a test or tool makes and takes back when it ends, and registry reads.
#pragma once
#include <windows.h>

#include <optional>
#include <string>
#include <vector>

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

// Deletes a whole key (with subkeys) when the object ends.
class ScopedKeyRemoval {
public:
    ScopedKeyRemoval(HKEY root, std::wstring subKey, REGSAM view = 0);
    ~ScopedKeyRemoval();
    ScopedKeyRemoval(const ScopedKeyRemoval&) = delete;
    ScopedKeyRemoval& operator=(const ScopedKeyRemoval&) = delete;

private:
    HKEY m_root;
    std::wstring m_subKey;
    REGSAM m_view;
};

bool KeyExists(HKEY root, const std::wstring& subKey, REGSAM view = 0);
std::optional<std::wstring> ReadString(HKEY root, const std::wstring& subKey, const std::wstring& valueName,
                                       REGSAM view = 0);
// Names of the values of a key ("" for the default value), sorted.
std::vector<std::wstring> ValueNames(HKEY root, const std::wstring& subKey, REGSAM view = 0);
std::vector<std::wstring> SubKeyNames(HKEY root, const std::wstring& subKey, REGSAM view = 0);
// A plain write, not taken back: for state the code under test is expected to remove.
bool WriteString(HKEY root, const std::wstring& subKey, const std::wstring& valueName, const std::wstring& data,
                 REGSAM view = 0);
void DeleteTree(HKEY root, const std::wstring& subKey, REGSAM view = 0);

} // namespace quillet::test
