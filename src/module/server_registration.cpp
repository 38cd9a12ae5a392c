#include "module/server_registration.h"

#include <oleauto.h>

#include <string>
#include <vector>

#include "module/module_state.h"
#include "module/object_map.h"
#include "module/registrar.h"

namespace quillet {
namespace {

HRESULT ModulePath(std::wstring& path)
{
    wchar_t buffer[MAX_PATH] = {};
    const DWORD length = GetModuleFileNameW(ModuleInstance(), buffer, MAX_PATH);
    if (length == 0)
        return HRESULT_FROM_WIN32(GetLastError());
    if (length >= MAX_PATH) // the path may have been cut
        return HRESULT_FROM_WIN32(ERROR_INSUFFICIENT_BUFFER);
    path.assign(buffer, length);
    return S_OK;
}

// Values are single-quoted in the script, so a quote in the path is written twice.
std::wstring DoubleSingleQuotes(const std::wstring& text)
{
    std::wstring result;
    result.reserve(text.size() + 8);
    for (wchar_t c : text) {
        result += c;
        if (c == L'\'')
            result += L'\'';
    }
    return result;
}

HRESULT LoadScript(UINT resourceId, std::wstring& script)
{
    HMODULE module = ModuleInstance();
    HRSRC info = FindResourceW(module, MAKEINTRESOURCEW(resourceId), L"REGISTRY");
    if (!info)
        return HRESULT_FROM_WIN32(ERROR_RESOURCE_NAME_NOT_FOUND);
    HGLOBAL data = LoadResource(module, info);
    const DWORD size = SizeofResource(module, info);
    const char* text = data ? static_cast<const char*>(LockResource(data)) : nullptr;
    if (!text)
        return HRESULT_FROM_WIN32(ERROR_RESOURCE_DATA_NOT_FOUND);
    if (size == 0) {
        script.clear();
        return S_OK;
    }
    const int length = MultiByteToWideChar(CP_ACP, 0, text, static_cast<int>(size), nullptr, 0);
    if (length <= 0)
        return HRESULT_FROM_WIN32(GetLastError());
    script.assign(static_cast<size_t>(length), L'\0');
    MultiByteToWideChar(CP_ACP, 0, text, static_cast<int>(size), script.data(), length);
    return S_OK;
}

HRESULT RunScript(UINT resourceId, bool registerMode)
{
    std::wstring path;
    HRESULT hr = ModulePath(path);
    if (FAILED(hr))
        return hr;
    std::wstring script;
    hr = LoadScript(resourceId, script);
    if (FAILED(hr))
        return hr;
    const RegistrarReplacement replacements[] = {
        {L"Module", DoubleSingleQuotes(path)},
        {L"Module_Raw", path},
    };
    return RunRegistrarScript(script, replacements, registerMode);
}

// The library is the module's own TYPELIB resource; a .tlb beside it is the fallback.
HRESULT LoadModuleTypeLib(ITypeLib** library, std::wstring& path)
{
    HRESULT hr = ModulePath(path);
    if (FAILED(hr))
        return hr;
    hr = LoadTypeLib(path.c_str(), library);
    if (SUCCEEDED(hr))
        return hr;
    const size_t dot = path.find_last_of(L'.');
    const size_t slash = path.find_last_of(L"\\/");
    std::wstring tlbPath = (dot != std::wstring::npos && (slash == std::wstring::npos || dot > slash))
                               ? path.substr(0, dot)
                               : path;
    tlbPath += L".tlb";
    return LoadTypeLib(tlbPath.c_str(), library);
}

HRESULT RegisterModuleTypeLib()
{
    ITypeLib* library = nullptr;
    std::wstring path;
    HRESULT hr = LoadModuleTypeLib(&library, path);
    if (FAILED(hr))
        return hr;
    std::wstring helpDir = path.substr(0, path.find_last_of(L'\\') + 1);
    if (helpDir.size() > 3 && helpDir.back() == L'\\')
        helpDir.pop_back();
    hr = RegisterTypeLib(library, path.data(), helpDir.empty() ? nullptr : helpDir.data());
    library->Release();
    return hr;
}

HRESULT UnregisterModuleTypeLib()
{
    ITypeLib* library = nullptr;
    std::wstring path;
    HRESULT hr = LoadModuleTypeLib(&library, path);
    if (FAILED(hr))
        return hr;
    TLIBATTR* attributes = nullptr;
    hr = library->GetLibAttr(&attributes);
    if (SUCCEEDED(hr)) {
        const GUID libid = attributes->guid;
        library->ReleaseTLibAttr(attributes);
        hr = UnRegisterTypeLib(libid, 1, 0, 0, SYS_WIN64);
    }
    library->Release();
    return hr;
}

} // namespace

HRESULT RegisterServerEntries()
{
    for (ObjectMapEntry* entry = ObjectMapBegin(); entry != ObjectMapEnd(); ++entry) {
        const HRESULT hr = RunScript(entry->registrationScriptId, true);
        if (FAILED(hr))
            return hr;
    }
    return RegisterModuleTypeLib();
}

HRESULT UnregisterServerEntries()
{
    for (ObjectMapEntry* entry = ObjectMapBegin(); entry != ObjectMapEnd(); ++entry) {
        const HRESULT hr = RunScript(entry->registrationScriptId, false);
        if (FAILED(hr))
            return hr;
    }
    return UnregisterModuleTypeLib();
}

} // namespace quillet
