#include "stand_in_sender.h"

#include <shlobj.h>
#include <shlwapi.h>

namespace {
const wchar_t kAppPaths[] = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\Pelloc.exe";
}

StandInSender::StandInSender(const wchar_t* name)
{
    wchar_t temp[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, temp);
    folder = std::wstring(temp) + name + L"-" + std::to_wstring(GetCurrentProcessId());
    sender = folder + L"\\Pelloc.exe";
    config = folder + L"\\config.ini";
    item = folder + L"\\item.txt";
    CreateDirectoryW(folder.c_str(), nullptr);
    for (const std::wstring& file : {sender, item})
        CloseHandle(CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    WritePrivateProfileStringW(L"UI", L"language", L"en", config.c_str());
    HKEY appPaths = nullptr;
    RegCreateKeyExW(HKEY_LOCAL_MACHINE, kAppPaths, 0, nullptr, 0, KEY_SET_VALUE, nullptr, &appPaths, nullptr);
    RegSetValueExW(appPaths, L"Path", 0, REG_SZ, reinterpret_cast<const BYTE*>(folder.c_str()),
                   static_cast<DWORD>((folder.size() + 1) * sizeof(wchar_t)));
    RegCloseKey(appPaths);
}

StandInSender::~StandInSender()
{
    HKEY appPaths = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kAppPaths, 0, KEY_SET_VALUE, &appPaths) == ERROR_SUCCESS) {
        RegDeleteValueW(appPaths, L"Path");
        RegCloseKey(appPaths);
    }
    for (const std::wstring& file : {sender, item, config})
        DeleteFileW(file.c_str());
    RemoveDirectoryW(folder.c_str());
}

HRESULT ShellDataObject(const std::wstring& path, IDataObject** data)
{
    PIDLIST_ABSOLUTE id = nullptr;
    HRESULT hr = SHParseDisplayName(path.c_str(), nullptr, &id, 0, nullptr);
    if (FAILED(hr))
        return hr;
    IShellFolder* parent = nullptr;
    PCUITEMID_CHILD child = nullptr;
    hr = SHBindToParent(id, IID_IShellFolder, reinterpret_cast<void**>(&parent), &child);
    if (SUCCEEDED(hr)) {
        hr = parent->GetUIObjectOf(nullptr, 1, &child, IID_IDataObject, nullptr, reinterpret_cast<void**>(data));
        parent->Release();
    }
    CoTaskMemFree(id);
    return hr;
}

std::wstring BesideProgram(const wchar_t* name)
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    PathRemoveFileSpecW(path);
    PathAppendW(path, name);
    return path;
}
