// floor_handler.dll: the least a context-menu handler with our duties can do, as a DLL of its
// own so that its first right-click pays for loading like ours does. It makes only the calls
// Quillet cannot avoid: COM on the thread and GDI+ started at creation, the sender's App Paths
// and config.ini read for the caption, the drop list read, the "MenuOption" setting, the App
// Paths read and the existence test of the sender, one string item; shut-downs at release.
// It decodes no icon and measures no caption.
#include <windows.h>
#include <shlobj.h>
#include <shlwapi.h>

#include <string>

#include "platform/gdiplus.h"
#include "shell_extension.h"

namespace {

// {5A1C0D8E-3B7F-4C55-9E2A-6D0F4B8C1E73}, used by nothing but the cold benchmark.
const CLSID kFloorClsid = {0x5a1c0d8e, 0x3b7f, 0x4c55, {0x9e, 0x2a, 0x6d, 0x0f, 0x4b, 0x8c, 0x1e, 0x73}};
const wchar_t kAppPaths[] = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\Pelloc.exe";

std::wstring SenderFolder()
{
    wchar_t folder[MAX_PATH] = {};
    DWORD type = REG_SZ, size = sizeof(folder);
    SHGetValueW(HKEY_LOCAL_MACHINE, kAppPaths, L"Path", &type, folder, &size);
    return folder;
}

class FloorHandler final : public ShellExtension {
public:
    FloorHandler()
    {
        m_com = CoInitialize(nullptr);
        const std::wstring config = SenderFolder() + L"\\config.ini";
        GetPrivateProfileStringW(L"UI", L"language", L"", m_language, 1000, config.c_str());
        Gdiplus::GdiplusStartupInput input;
        Gdiplus::GdiplusStartup(&m_gdiplus, &input, nullptr);
    }
    ~FloorHandler() override
    {
        Gdiplus::GdiplusShutdown(m_gdiplus);
        if (SUCCEEDED(m_com))
            CoUninitialize();
    }

    STDMETHODIMP Initialize(PCIDLIST_ABSOLUTE, IDataObject* data, HKEY) override
    {
        FORMATETC format = {CF_HDROP, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
        STGMEDIUM medium = {};
        if (!data || FAILED(data->GetData(&format, &medium)))
            return E_FAIL;
        wchar_t path[MAX_PATH] = {};
        const UINT count = DragQueryFileW(static_cast<HDROP>(medium.hGlobal), 0xFFFFFFFF, nullptr, 0);
        if (count)
            DragQueryFileW(static_cast<HDROP>(medium.hGlobal), 0, path, MAX_PATH);
        ReleaseStgMedium(&medium);
        return count ? S_OK : E_FAIL;
    }
    STDMETHODIMP QueryContextMenu(HMENU menu, UINT index, UINT first, UINT, UINT) override
    {
        DWORD option = 1, type = 0, bytes = sizeof(option);
        HKEY key = nullptr;
        if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Pelloc\\Profile", 0, KEY_QUERY_VALUE | KEY_WOW64_32KEY,
                          &key) == ERROR_SUCCESS) {
            RegQueryValueExW(key, L"MenuOption", nullptr, &type, reinterpret_cast<BYTE*>(&option), &bytes);
            RegCloseKey(key);
        }
        const std::wstring sender = SenderFolder() + L"\\Pelloc.exe";
        if (!option || !PathFileExistsW(sender.c_str()))
            return E_FAIL;
        InsertMenuW(menu, index, MF_BYPOSITION | MF_STRING, first, L"Transferred with Pelloc");
        return MAKE_HRESULT(SEVERITY_SUCCESS, 0, 1);
    }

private:
    HRESULT m_com = E_FAIL;
    ULONG_PTR m_gdiplus = 0;
    wchar_t m_language[1000] = {};
};

class Factory final : public IClassFactory {
public:
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override
    {
        if (!ppv)
            return E_POINTER;
        *ppv = (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IClassFactory)) ? this : nullptr;
        return *ppv ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID riid, void** ppv) override
    {
        if (outer) {
            if (ppv)
                *ppv = nullptr;
            return CLASS_E_NOAGGREGATION;
        }
        return CreateShellExtension<FloorHandler>(riid, ppv);
    }
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }
};

Factory g_factory;

} // namespace

extern "C" HRESULT __stdcall DllGetClassObject(REFCLSID clsid, REFIID riid, void** ppv)
{
    if (!ppv)
        return E_POINTER;
    *ppv = nullptr;
    return IsEqualCLSID(clsid, kFloorClsid) ? g_factory.QueryInterface(riid, ppv) : CLASS_E_CLASSNOTAVAILABLE;
}

extern "C" HRESULT __stdcall DllCanUnloadNow()
{
    return S_FALSE;
}
