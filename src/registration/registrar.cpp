#include "registration/registrar.h"

#include <optional>
#include <utility>
#include <vector>

#include "platform/handles.h"
#include "registration/registrar_script.h"

// The whole script is parsed before the registry is touched, so a malformed script writes
// nothing. Every call stays in the process's own registry view: a 64-bit module registers
// itself where 64-bit Explorer looks.

namespace quillet {
namespace {

HRESULT FromWin32(LONG status)
{
    return HRESULT_FROM_WIN32(static_cast<unsigned long>(status));
}

bool IsMissing(LONG status)
{
    return status == ERROR_FILE_NOT_FOUND || status == ERROR_PATH_NOT_FOUND;
}

// Deletes a key with all its subkeys; a key that is not there is no error.
LONG DeleteKeyTree(HKEY parent, const std::wstring& name)
{
    const LONG status = RegDeleteTreeW(parent, name.c_str());
    return IsMissing(status) ? ERROR_SUCCESS : status;
}

LONG SetString(HKEY key, const wchar_t* name, const std::wstring& text)
{
    return RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                          static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
}

HKEY ParentOf(const ScriptKey& key, const std::vector<UniqueRegKey>& opened)
{
    return key.parent == kTopLevel ? HKEY_CLASSES_ROOT : opened[key.parent].get();
}

LONG RegisterKey(const ScriptKey& key, HKEY parent, UniqueRegKey& opened)
{
    if (key.removal == KeyRemoval::ForceRemove) {
        // Stale subkeys and values from an older registration must not survive this one.
        const LONG status = DeleteKeyTree(parent, key.name);
        if (status != ERROR_SUCCESS)
            return status;
    }
    LONG status = RegCreateKeyExW(parent, key.name.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_READ | KEY_WRITE,
                                  nullptr, opened.put(), nullptr);
    if (status == ERROR_SUCCESS && key.defaultValue)
        status = SetString(opened.get(), nullptr, *key.defaultValue);
    for (const auto& [name, text] : key.namedValues) {
        if (status != ERROR_SUCCESS)
            break;
        status = SetString(opened.get(), name.c_str(), text);
    }
    return status;
}

HRESULT Register(const std::vector<ScriptKey>& keys)
{
    std::vector<UniqueRegKey> opened(keys.size());
    for (size_t i = 0; i < keys.size(); ++i) {
        const LONG status = RegisterKey(keys[i], ParentOf(keys[i], opened), opened[i]);
        if (status != ERROR_SUCCESS)
            return FromWin32(status);
    }
    return S_OK;
}

// Carries on past failures and returns the first; what is already missing is no failure.
HRESULT Unregister(const std::vector<ScriptKey>& keys)
{
    std::vector<UniqueRegKey> opened(keys.size()); // the NoRemove keys that are there
    HRESULT result = S_OK;
    const auto note = [&result](LONG status) {
        if (status != ERROR_SUCCESS && !IsMissing(status) && SUCCEEDED(result))
            result = FromWin32(status);
    };
    for (size_t i = 0; i < keys.size(); ++i) {
        const ScriptKey& key = keys[i];
        const HKEY parent = ParentOf(key, opened);
        if (!parent)
            continue; // inside a key already deleted, or never there
        if (key.removal != KeyRemoval::NoRemove) {
            note(DeleteKeyTree(parent, key.name));
            continue;
        }
        // A shared key such as CLSID stays, with its default value, which others may own; only
        // what the script names inside it goes.
        const REGSAM access = key.namedValues.empty() ? KEY_READ : KEY_READ | KEY_SET_VALUE;
        UniqueRegKey shared;
        const LONG status = RegOpenKeyExW(parent, key.name.c_str(), 0, access, shared.put());
        note(status);
        if (status != ERROR_SUCCESS)
            continue;
        for (const auto& value : key.namedValues)
            note(RegDeleteValueW(shared.get(), value.first.c_str()));
        opened[i] = std::move(shared);
    }
    return result;
}

} // namespace

HRESULT RunRegistrarScript(std::wstring_view script, std::wstring_view module, RegistrarMode mode)
{
    const std::optional<std::vector<ScriptKey>> keys = ParseRegistrarScript(script, module);
    if (!keys)
        return kMalformedRegistrarScript;
    if (mode == RegistrarMode::Unregister)
        return Unregister(*keys);
    const HRESULT hr = Register(*keys);
    if (FAILED(hr))
        Unregister(*keys); // takes back what was written; the first failure is what the caller hears of
    return hr;
}

} // namespace quillet
