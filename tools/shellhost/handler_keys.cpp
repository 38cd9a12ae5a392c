#include "handler_keys.h"

#include <shlwapi.h>

namespace {

std::wstring DefaultValue(HKEY root, const std::wstring& subKey)
{
    wchar_t data[512] = {};
    DWORD bytes = sizeof(data) - sizeof(wchar_t);
    if (RegGetValueW(root, subKey.c_str(), nullptr, RRF_RT_REG_SZ, nullptr, data, &bytes) != ERROR_SUCCESS)
        return L"";
    return data;
}

} // namespace

std::vector<std::wstring> ClassesOf(const std::wstring& path)
{
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY))
        return {L"Directory", L"Folder"};
    std::vector<std::wstring> classes{L"*"};
    const wchar_t* extension = PathFindExtensionW(path.c_str());
    if (*extension) {
        const std::wstring progId = DefaultValue(HKEY_CLASSES_ROOT, extension);
        if (!progId.empty())
            classes.push_back(progId);
    }
    return classes;
}

std::vector<HandlerEntry> FindHandlers(const std::vector<std::wstring>& classes)
{
    std::vector<HandlerEntry> handlers;
    for (const std::wstring& keyClass : classes) {
        const std::wstring parent = keyClass + L"\\shellex\\ContextMenuHandlers";
        HKEY key = nullptr;
        if (RegOpenKeyExW(HKEY_CLASSES_ROOT, parent.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
            continue;
        for (DWORD index = 0;; ++index) {
            wchar_t name[256];
            DWORD length = 256;
            if (RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
                break;
            HandlerEntry entry{keyClass, name, {}, DefaultValue(HKEY_CLASSES_ROOT, parent + L"\\" + name)};
            if (entry.clsidText.empty())
                entry.clsidText = name; // a key named after the CLSID itself
            if (FAILED(CLSIDFromString(entry.clsidText.c_str(), &entry.clsid)))
                continue;
            bool seen = false;
            for (const HandlerEntry& other : handlers)
                seen = seen || IsEqualCLSID(other.clsid, entry.clsid);
            if (!seen)
                handlers.push_back(entry);
        }
        RegCloseKey(key);
    }
    return handlers;
}
