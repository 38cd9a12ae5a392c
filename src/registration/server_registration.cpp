#include "registration/server_registration.h"

#include <oleauto.h>
#include <shlwapi.h>
#include <wrl/client.h>

#include <string>
#include <string_view>

namespace quillet {
namespace {

using Microsoft::WRL::ComPtr;
using PathBuffer = wchar_t[MAX_PATH];

constexpr wchar_t kScriptResourceType[] = L"REGISTRY";
constexpr wchar_t kTypeLibraryExtension[] = L".tlb";

HRESULT GetModulePath(HINSTANCE module, PathBuffer& path)
{
    const DWORD length = GetModuleFileNameW(module, path, MAX_PATH);
    if (length == 0)
        return HRESULT_FROM_WIN32(GetLastError());
    if (length == MAX_PATH)
        return HRESULT_FROM_WIN32(ERROR_INSUFFICIENT_BUFFER);
    return S_OK;
}

// The script is 8-bit text in the code page of the system.
HRESULT LoadScript(HINSTANCE module, UINT scriptId, std::wstring& script)
{
    const HRSRC info = FindResourceW(module, MAKEINTRESOURCEW(scriptId), kScriptResourceType);
    const char* text = info ? static_cast<const char*>(LockResource(LoadResource(module, info))) : nullptr;
    if (!text)
        return HRESULT_FROM_WIN32(ERROR_RESOURCE_NAME_NOT_FOUND);
    const int size = static_cast<int>(SizeofResource(module, info));
    // Never more characters than bytes. A text that does not convert ends up empty, which the
    // registrar refuses as malformed.
    script.resize(static_cast<size_t>(size));
    script.resize(static_cast<size_t>(MultiByteToWideChar(CP_ACP, 0, text, size, script.data(), size)));
    return S_OK;
}

// The module's path as quoted text in the script writes it.
std::wstring DoubleQuotes(std::wstring_view text)
{
    std::wstring doubled;
    for (const wchar_t c : text) {
        doubled += c;
        if (c == kScriptQuote)
            doubled += kScriptQuote;
    }
    return doubled;
}

HRESULT LoadModuleTypeLib(const PathBuffer& path, ComPtr<ITypeLib>& library)
{
    HRESULT hr = LoadTypeLib(path, library.ReleaseAndGetAddressOf());
    if (FAILED(hr)) {
        PathBuffer tlbPath;
        lstrcpynW(tlbPath, path, MAX_PATH);
        PathRenameExtensionW(tlbPath, kTypeLibraryExtension);
        hr = LoadTypeLib(tlbPath, library.ReleaseAndGetAddressOf());
    }
    return hr;
}

HRESULT RegisterTypeLibrary(ITypeLib* library, PathBuffer& path)
{
    PathBuffer helpDirectory;
    lstrcpynW(helpDirectory, path, MAX_PATH);
    PathRemoveFileSpecW(helpDirectory); // keeps the backslash of a root, as in "C:\"
    return RegisterTypeLib(library, path, helpDirectory);
}

HRESULT UnregisterTypeLibrary(ITypeLib* library)
{
    TLIBATTR* attributes = nullptr;
    HRESULT hr = library->GetLibAttr(&attributes);
    if (FAILED(hr))
        return hr;
    hr = UnRegisterTypeLib(attributes->guid, attributes->wMajorVerNum, attributes->wMinorVerNum, attributes->lcid,
                           attributes->syskind);
    library->ReleaseTLibAttr(attributes);
    return hr;
}

} // namespace

HRESULT UpdateClassEntries(HINSTANCE module, UINT scriptId, RegistrarMode mode)
{
    PathBuffer path;
    HRESULT hr = GetModulePath(module, path);
    if (FAILED(hr))
        return hr;
    std::wstring script;
    hr = LoadScript(module, scriptId, script);
    if (FAILED(hr))
        return hr;
    return RunRegistrarScript(script, DoubleQuotes(path), mode);
}

HRESULT UpdateTypeLibrary(HINSTANCE module, RegistrarMode mode)
{
    PathBuffer path;
    HRESULT hr = GetModulePath(module, path);
    if (FAILED(hr))
        return hr;
    ComPtr<ITypeLib> library;
    hr = LoadModuleTypeLib(path, library);
    if (FAILED(hr))
        return hr;
    return mode == RegistrarMode::Register ? RegisterTypeLibrary(library.Get(), path)
                                           : UnregisterTypeLibrary(library.Get());
}

} // namespace quillet
