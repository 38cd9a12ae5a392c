// floor_handler.dll: the least a context-menu handler with our duties can do, as a DLL of its
// own so that its first right-click pays for loading like ours does. It makes only the calls
// Quillet cannot avoid: COM on the thread and GDI+ started at creation, the sender's App Paths
// and config.ini read and the caption looked up in the embedded table; the drop list read; the
// "MenuOption" setting, the App Paths read and the existence test of the sender, the display's
// DPI, the picture for it loaded, the caption measured, one string item with the picture;
// shut-downs at release. It keeps no cache and parses no more than the one line it needs.
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

HMODULE ModuleOf(const void* address)
{
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       static_cast<LPCWSTR>(address), &module);
    return module;
}

// The language's caption from the embedded table: its section found, then its one line.
std::wstring TableCaption(const std::wstring& language)
{
    const HMODULE module = ModuleOf(reinterpret_cast<const void*>(&TableCaption));
    const HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(203), L"FILE");
    const auto* text = found ? static_cast<const wchar_t*>(LockResource(LoadResource(module, found))) : nullptr;
    if (!text)
        return L"File Transfer";
    const std::wstring table(text, SizeofResource(module, found) / sizeof(wchar_t));
    const size_t section = table.find(L"[" + language + L"]");
    const size_t key = section == std::wstring::npos ? section : table.find(L"MENU_FS_TEXT=", section);
    if (key == std::wstring::npos)
        return L"File Transfer";
    const size_t start = key + 13;
    return table.substr(start, table.find(L'\r', start) - start);
}

class FloorHandler final : public ShellExtension {
public:
    FloorHandler()
    {
        m_com = CoInitialize(nullptr);
        const std::wstring config = SenderFolder() + L"\\config.ini";
        GetPrivateProfileStringW(L"UI", L"language", L"", m_language, 1000, config.c_str());
        m_caption = TableCaption(m_language[0] ? m_language : L"en");
        Gdiplus::GdiplusStartupInput input;
        Gdiplus::GdiplusStartup(&m_gdiplus, &input, nullptr);
    }
    ~FloorHandler() override
    {
        if (m_picture)
            DeleteObject(m_picture);
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
        // The display's DPI picks the picture; the benchmark runs at 96, where the bitmap serves.
        const HDC screen = GetDC(nullptr);
        m_dpi = screen ? GetDeviceCaps(screen, LOGPIXELSX) : 96;
        if (screen)
            ReleaseDC(nullptr, screen);
        if (!m_picture)
            m_picture = static_cast<HBITMAP>(LoadImageW(ModuleOf(this), MAKEINTRESOURCEW(501), IMAGE_BITMAP, 0, 0,
                                                        LR_CREATEDIBSECTION | LR_VGACOLOR));
        if (const HDC measure = CreateCompatibleDC(nullptr)) {
            RECT rect = {0, 0, 1000, 1000};
            DrawTextW(measure, m_caption.c_str(), -1, &rect, DT_CALCRECT | DT_SINGLELINE | DT_NOPREFIX);
            DeleteDC(measure);
        }
        InsertMenuW(menu, index, MF_BYPOSITION | MF_STRING, first, m_caption.c_str());
        SetMenuItemBitmaps(menu, index, MF_BYPOSITION, m_picture, nullptr);
        return MAKE_HRESULT(SEVERITY_SUCCESS, 0, 1);
    }

private:
    HRESULT m_com = E_FAIL;
    ULONG_PTR m_gdiplus = 0;
    wchar_t m_language[1000] = {};
    std::wstring m_caption;
    HBITMAP m_picture = nullptr;
    int m_dpi = 96;
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
