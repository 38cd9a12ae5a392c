// Pops up a context menu as Explorer would build it: a few ordinary commands and, between
// them, the item the handler inserts. scripts/menu-screenshots photographs it.
//
//   menu-preview [--canrename] [--select N] [--swatch] [--blend] [--rect FILE] [--done FILE]
//
// --canrename  asks as Explorer does for a renameable item (the owner-drawn form before Vista)
// --select N   moves the keyboard selection down N times once the menu is open
// --swatch     shows, instead of the menu, the item's picture blended with its alpha onto a
//              light and a dark menu background, as Windows blends 32-bit menu pictures
// --blend      shows the item's picture blended onto the menu, as Windows Vista and later
//              do, instead of in the check-mark slot that Wine paints without alpha
// --rect FILE  writes the open menu's (or swatch's) screen rectangle there, as WxH+X+Y
// --done FILE  closes the menu as soon as FILE exists (after 60 s at the latest)
#include <windows.h>
#include <shlobj.h>
#include <wrl/client.h>

#include <cstdio>
#include <string>

#include "blended_picture.h"
#include "common/files.h"
#include "common/module_library.h"
#include "common/registry.h"
#include "quillet_idl.h"
#include "sender/sender_installation.h"

namespace {

constexpr UINT kIdCmdFirst = 100;
constexpr UINT kHandlerPosition = 4; // between the two separators
constexpr UINT_PTR kSettleTimer = 1;
constexpr UINT_PTR kPollTimer = 2;
constexpr UINT kMaxPolls = 600;

constexpr int kSwatchPadding = 4;
constexpr COLORREF kDarkMenu = RGB(0x2B, 0x2B, 0x2B);

struct Options {
    bool canRename = false;
    bool swatch = false;
    bool blend = false;
    int select = 0;
    std::wstring rectFile;
    std::wstring doneFile;
};

Options g_options;
Microsoft::WRL::ComPtr<IContextMenu3> g_handler;
UINT g_polls = 0;
bool g_rectWritten = false;
HBITMAP g_itemPicture = nullptr; // owned by the handler
SIZE g_pictureSize = {};

bool FileExists(const std::wstring& path)
{
    return !path.empty() && GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

void WriteWindowRect(HWND window)
{
    if (!window || !IsWindowVisible(window))
        return;
    RECT rect = {};
    GetWindowRect(window, &rect);
    char text[64];
    const int length = std::snprintf(text, sizeof(text), "%ldx%ld+%ld+%ld\n", rect.right - rect.left,
                                     rect.bottom - rect.top, rect.left, rect.top);
    g_rectWritten = quillet::test::WriteFileBytes(g_options.rectFile, text, static_cast<size_t>(length));
}

// The picture on the menu's own background, then on a dark one.
void PaintSwatches(HDC dc)
{
    const int tileWidth = g_pictureSize.cx + 2 * kSwatchPadding;
    const int tileHeight = g_pictureSize.cy + 2 * kSwatchPadding;
    const HDC memory = CreateCompatibleDC(dc);
    const HGDIOBJ old = SelectObject(memory, g_itemPicture);
    const COLORREF backgrounds[] = {GetSysColor(COLOR_MENU), kDarkMenu};
    for (int i = 0; i < 2; ++i) {
        const RECT tile = {i * tileWidth, 0, (i + 1) * tileWidth, tileHeight};
        const HBRUSH brush = CreateSolidBrush(backgrounds[i]);
        FillRect(dc, &tile, brush);
        DeleteObject(brush);
        const BLENDFUNCTION blend = {AC_SRC_OVER, 0, 255, AC_SRC_ALPHA};
        AlphaBlend(dc, tile.left + kSwatchPadding, kSwatchPadding, g_pictureSize.cx, g_pictureSize.cy, memory, 0, 0,
                   g_pictureSize.cx, g_pictureSize.cy, blend);
    }
    SelectObject(memory, old);
    DeleteDC(memory);
}

LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_INITMENUPOPUP:
    case WM_MEASUREITEM:
    case WM_DRAWITEM:
    case WM_MENUCHAR: {
        // The shell passes these on to the handler that filled the menu.
        LRESULT result = 0;
        if (g_handler && SUCCEEDED(g_handler->HandleMenuMsg2(message, wParam, lParam, &result)) &&
            message != WM_INITMENUPOPUP)
            return result;
        break;
    }
    case WM_TIMER:
        if (wParam == kSettleTimer) {
            KillTimer(window, kSettleTimer);
            for (int i = 0; i < g_options.select; ++i)
                PostMessageW(window, WM_KEYDOWN, VK_DOWN, 0);
            SetTimer(window, kPollTimer, 100, nullptr);
        } else if (wParam == kPollTimer) {
            if (!g_rectWritten && !g_options.rectFile.empty())
                WriteWindowRect(g_options.swatch ? window : FindWindowW(L"#32768", nullptr));
            if (FileExists(g_options.doneFile) || ++g_polls > kMaxPolls) {
                EndMenu();
                PostQuitMessage(0);
            }
        }
        return 0;
    case WM_PAINT:
        if (g_options.swatch) {
            PAINTSTRUCT paint;
            BeginPaint(window, &paint);
            PaintSwatches(paint.hdc);
            EndPaint(window, &paint);
            return 0;
        }
        break;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

HMENU BuildMenu()
{
    HMENU menu = CreatePopupMenu();
    AppendMenuW(menu, MF_STRING, 1, L"&Open");
    AppendMenuW(menu, MF_STRING, 2, L"&Edit");
    AppendMenuW(menu, MF_STRING, 3, L"&Print");
    AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
    AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
    AppendMenuW(menu, MF_STRING, 4, L"Cu&t");
    AppendMenuW(menu, MF_STRING, 5, L"&Copy");
    AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
    AppendMenuW(menu, MF_STRING, 6, L"P&roperties");
    SetMenuDefaultItem(menu, 1, FALSE);
    return menu;
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    for (int i = 1; i < argc; ++i) {
        const std::wstring arg = argv[i];
        if (arg == L"--canrename")
            g_options.canRename = true;
        else if (arg == L"--swatch")
            g_options.swatch = true;
        else if (arg == L"--blend")
            g_options.blend = true;
        else if (arg == L"--select" && i + 1 < argc)
            g_options.select = _wtoi(argv[++i]);
        else if (arg == L"--rect" && i + 1 < argc)
            g_options.rectFile = argv[++i];
        else if (arg == L"--done" && i + 1 < argc)
            g_options.doneFile = argv[++i];
    }

    SetProcessDPIAware(); // as Explorer is
    int status = 0;
    {
        // The sender counts as installed: App Paths points at a folder holding "Pelloc.exe".
        const std::wstring folder = quillet::test::MakeTempFolder(L"preview");
        quillet::test::WriteFileBytes(folder + L"\\" + quillet::kSenderFileName, "", 0);
        quillet::test::ScopedRegistryValue path(HKEY_LOCAL_MACHINE, quillet::kSenderAppPathsKey,
                                                quillet::kSenderPathValue);
        path.SetString(folder);

        // The handler as the shell gets it, from the DLL beside this program.
        quillet::test::ModuleLibrary module(quillet::test::ModulePath());
        Microsoft::WRL::ComPtr<IClassFactory> factory;
        if (SUCCEEDED(module.GetClassObject(CLSID_FTKelMN, IID_PPV_ARGS(&factory))))
            factory->CreateInstance(nullptr, IID_PPV_ARGS(&g_handler));
        WNDCLASSW windowClass = {};
        windowClass.lpfnWndProc = WindowProc;
        windowClass.hInstance = GetModuleHandleW(nullptr);
        windowClass.lpszClassName = L"QuilletMenuPreview";
        RegisterClassW(&windowClass);
        HWND window = CreateWindowExW(WS_EX_TOOLWINDOW, windowClass.lpszClassName, L"menu preview", WS_POPUP, 0, 0,
                                      1, 1, nullptr, nullptr, windowClass.hInstance, nullptr);
        HMENU menu = BuildMenu();
        const HRESULT hr = g_handler ? g_handler->QueryContextMenu(menu, kHandlerPosition, kIdCmdFirst, 0x7FFF,
                                                                   g_options.canRename ? CMF_CANRENAME : CMF_NORMAL)
                                     : E_FAIL;
        std::printf("QueryContextMenu: 0x%08lx\n", static_cast<unsigned long>(hr));
        if (hr != 1)
            status = 1;
        const HBITMAP blended = g_options.blend ? ShowPictureBlended(menu, kHandlerPosition) : nullptr;
        if (g_options.blend && !blended)
            status = 1;

        if (g_options.swatch) {
            MENUITEMINFOW info = {};
            info.cbSize = sizeof(info);
            info.fMask = MIIM_CHECKMARKS;
            GetMenuItemInfoW(menu, kHandlerPosition, TRUE, &info);
            g_itemPicture = info.hbmpUnchecked;
            BITMAP bitmap = {};
            if (!g_itemPicture || !GetObjectW(g_itemPicture, sizeof(bitmap), &bitmap)) {
                std::printf("the item has no picture\n");
                g_handler.Reset(); // before its module goes
                return 1;
            }
            g_pictureSize = {bitmap.bmWidth, bitmap.bmHeight};
            SetWindowPos(window, HWND_TOPMOST, 24, 24, 2 * (bitmap.bmWidth + 2 * kSwatchPadding),
                         bitmap.bmHeight + 2 * kSwatchPadding, SWP_SHOWWINDOW);
            SetTimer(window, kPollTimer, 300, nullptr);
            MSG message;
            while (GetMessageW(&message, nullptr, 0, 0) > 0) {
                TranslateMessage(&message);
                DispatchMessageW(&message);
            }
        } else {
            ShowWindow(window, SW_SHOWNOACTIVATE);
            SetForegroundWindow(window);
            SetTimer(window, kSettleTimer, 500, nullptr);
            TrackPopupMenu(menu, TPM_LEFTALIGN | TPM_TOPALIGN | TPM_RETURNCMD, 24, 24, 0, window, nullptr);
        }
        DestroyMenu(menu);
        if (blended)
            DeleteObject(blended);
        DestroyWindow(window);
        g_handler.Reset();
        factory.Reset();
        quillet::test::RemoveTree(folder);
    }
    return status;
}
