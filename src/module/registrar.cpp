#include "module/registrar.h"

#include "module/registrar_script.h"
#include "platform/handles.h"

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

LONG SetValue(HKEY key, const RegistrarValue& value)
{
    return RegSetValueExW(key, value.name.empty() ? nullptr : value.name.c_str(), 0, value.type,
                          value.data.empty() ? nullptr : value.data.data(),
                          static_cast<DWORD>(value.data.size()));
}

// Writes the body of a key that is open as `key`: its named values, then its subkeys.
HRESULT RegisterBody(HKEY key, const RegistrarKey& body);

HRESULT RegisterKey(HKEY parent, const RegistrarKey& node)
{
    if (node.flag == RegistrarKeyFlag::Delete || node.flag == RegistrarKeyFlag::ForceRemove) {
        // ForceRemove: stale subkeys from an older registration must not survive this one.
        const LONG status = DeleteKeyTree(parent, node.name);
        if (status != ERROR_SUCCESS)
            return FromWin32(status);
        if (node.flag == RegistrarKeyFlag::Delete)
            return S_OK;
    }
    UniqueRegKey key;
    LONG status = RegCreateKeyExW(parent, node.name.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                  KEY_READ | KEY_WRITE, nullptr, key.put(), nullptr);
    if (status != ERROR_SUCCESS)
        return FromWin32(status);
    if (node.hasDefault) {
        status = SetValue(key.get(), node.defaultValue);
        if (status != ERROR_SUCCESS)
            return FromWin32(status);
    }
    return RegisterBody(key.get(), node);
}

HRESULT RegisterBody(HKEY key, const RegistrarKey& body)
{
    for (const RegistrarValue& value : body.values) {
        const LONG status = SetValue(key, value);
        if (status != ERROR_SUCCESS)
            return FromWin32(status);
    }
    for (const RegistrarKey& subkey : body.subkeys) {
        const HRESULT hr = RegisterKey(key, subkey);
        if (FAILED(hr))
            return hr;
    }
    return S_OK;
}

// Removes what the body of `key` names. Carries on past failures and returns the first one.
HRESULT UnregisterBody(HKEY key, const RegistrarKey& body);

HRESULT UnregisterKey(HKEY parent, const RegistrarKey& node)
{
    if (node.flag != RegistrarKeyFlag::NoRemove)
        return FromWin32(DeleteKeyTree(parent, node.name));

    // A shared key (such as CLSID): it stays, with its default value, which others may own;
    // only what the script names inside it goes.
    if (node.values.empty() && node.subkeys.empty())
        return S_OK;
    UniqueRegKey key;
    const REGSAM access = KEY_READ | (node.values.empty() ? 0 : KEY_SET_VALUE);
    const LONG status = RegOpenKeyExW(parent, node.name.c_str(), 0, access, key.put());
    if (IsMissing(status))
        return S_OK; // nothing of ours can be under a key that is not there
    if (status != ERROR_SUCCESS)
        return FromWin32(status);
    return UnregisterBody(key.get(), node);
}

HRESULT UnregisterBody(HKEY key, const RegistrarKey& body)
{
    HRESULT result = S_OK;
    for (const RegistrarValue& value : body.values) {
        const LONG status = RegDeleteValueW(key, value.name.c_str());
        if (status != ERROR_SUCCESS && !IsMissing(status) && SUCCEEDED(result))
            result = FromWin32(status);
    }
    for (const RegistrarKey& subkey : body.subkeys) {
        const HRESULT hr = UnregisterKey(key, subkey);
        if (FAILED(hr) && SUCCEEDED(result))
            result = hr;
    }
    return result;
}

HRESULT Register(const RegistrarScript& script)
{
    for (const RegistrarBlock& block : script.blocks) {
        const HRESULT hr = RegisterBody(block.root, block.body);
        if (FAILED(hr)) {
            // Take back what this block wrote; the first failure is what the caller hears of.
            UnregisterBody(block.root, block.body);
            return hr;
        }
    }
    return S_OK;
}

HRESULT Unregister(const RegistrarScript& script)
{
    HRESULT result = S_OK;
    for (const RegistrarBlock& block : script.blocks) {
        const HRESULT hr = UnregisterBody(block.root, block.body);
        if (FAILED(hr) && SUCCEEDED(result))
            result = hr;
    }
    return result;
}

} // namespace

HRESULT RunRegistrarScript(std::wstring_view script, std::span<const RegistrarReplacement> replacements,
                           bool registerMode)
{
    RegistrarScript parsed;
    const HRESULT hr = ParseRegistrarScript(script, replacements, parsed);
    if (FAILED(hr))
        return hr;
    return registerMode ? Register(parsed) : Unregister(parsed);
}

} // namespace quillet
