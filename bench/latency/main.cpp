// latency_bench: how long one right-click costs, warm, beside two references measured in the same run.
//
//   latency_bench [iterations]        (default 2000)
//
// 1. Quillet: create through the class object, Initialize with one item, QueryContextMenu, release.
// 2. A minimal handler that only takes the selection and inserts one string item.
// 3. The floor: the calls the handler must make anyway, back to back without our code
//    (COM and GDI+ start-up and shut-down, the App Paths and setting reads, the config.ini read,
//    the existence test, one insertion).
// 4. The same floor with the two calls it leaves out although the handler cannot skip them:
//    reading the shell's drop list (which the minimal handler does too) and the second App
//    Paths read (one at creation to find config.ini, one per menu to find the sender).
// The rows take turns run by run, so a busy machine slows them all alike.
#include <windows.h>
#include <shlobj.h>
#include <shlwapi.h>
#include <wrl/client.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "minimal_handler.h"
#include "platform/gdiplus.h"
#include "quillet_idl.h"
#include "sender/sender_installation.h"
#include "common/fake_sender.h"
#include "common/files.h"
#include "shell_data.h"

using Microsoft::WRL::ComPtr;

namespace {

using quillet::kSenderAppPathsKey;

double Now()
{
    LARGE_INTEGER counter, frequency;
    QueryPerformanceCounter(&counter);
    QueryPerformanceFrequency(&frequency);
    return static_cast<double>(counter.QuadPart) * 1e6 / static_cast<double>(frequency.QuadPart);
}

struct Stats {
    double median = 0, p95 = 0;
};

// Two menus taken in turn, so that no handler sees the same menu twice in a row.
struct Menus {
    HMENU menu[2] = {CreatePopupMenu(), CreatePopupMenu()};
    int next = 0;
    ~Menus()
    {
        DestroyMenu(menu[0]);
        DestroyMenu(menu[1]);
    }
    HMENU Take()
    {
        HMENU m = menu[next];
        next ^= 1;
        while (GetMenuItemCount(m) > 0)
            DeleteMenu(m, 0, MF_BYPOSITION);
        return m;
    }
};

struct Row {
    Row(const char* rowName, std::function<bool()> run) : name(rowName), once(std::move(run)) {}
    const char* name;
    std::function<bool()> once;
    std::vector<double> samples;
    Stats stats;
};

// Warm runs of every row, interleaved, each round starting with another row.
bool Measure(int iterations, std::vector<Row>& rows)
{
    const int warmUp = iterations / 10 + 5;
    for (int round = 0; round < warmUp + iterations; ++round) {
        for (size_t turn = 0; turn < rows.size(); ++turn) {
            Row& row = rows[(static_cast<size_t>(round) + turn) % rows.size()];
            const double start = Now();
            if (!row.once()) {
                std::printf("a run of \"%s\" failed\n", row.name);
                return false;
            }
            if (round >= warmUp)
                row.samples.push_back(Now() - start);
        }
    }
    for (Row& row : rows) {
        std::sort(row.samples.begin(), row.samples.end());
        row.stats = {row.samples[row.samples.size() / 2], row.samples[row.samples.size() * 95 / 100]};
    }
    return true;
}

bool RunHandler(IClassFactory* factory, IDataObject* data, Menus& menus)
{
    ComPtr<IShellExtInit> init;
    ComPtr<IContextMenu> menu;
    if (FAILED(factory->CreateInstance(nullptr, IID_IShellExtInit, reinterpret_cast<void**>(init.GetAddressOf()))) ||
        FAILED(init->Initialize(nullptr, data, nullptr)) || FAILED(init.As(&menu)))
        return false;
    return SUCCEEDED(menu->QueryContextMenu(menus.Take(), 0, 100, 0x7FFF, CMF_NORMAL));
}

std::wstring ReadAppPaths()
{
    wchar_t folder[MAX_PATH] = {};
    DWORD type = REG_SZ, size = sizeof(folder);
    SHGetValueW(HKEY_LOCAL_MACHINE, kSenderAppPathsKey, L"Path", &type, folder, &size);
    return folder;
}

// With `selection`, row 4: also the drop-list read and the creation's App Paths read.
bool RunFloor(const std::wstring& configPath, Menus& menus, IDataObject* selection)
{
    const HRESULT com = CoInitialize(nullptr);
    ULONG_PTR token = 0;
    Gdiplus::GdiplusStartupInput input;
    Gdiplus::GdiplusStartup(&token, &input, nullptr);

    bool selected = true;
    if (selection) {
        ReadAppPaths();
        FORMATETC format = {CF_HDROP, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
        STGMEDIUM medium = {};
        selected = SUCCEEDED(selection->GetData(&format, &medium)) &&
                   DragQueryFileW(static_cast<HDROP>(medium.hGlobal), 0xFFFFFFFF, nullptr, 0) > 0;
        ReleaseStgMedium(&medium);
    }
    const std::wstring folder = ReadAppPaths();
    DWORD type = 0;
    HKEY key = nullptr;
    DWORD option = 1;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, quillet::kSenderProfileKey, 0, KEY_QUERY_VALUE | KEY_WOW64_32KEY, &key) ==
        ERROR_SUCCESS) {
        DWORD bytes = sizeof(option);
        RegQueryValueExW(key, quillet::kMenuOptionValue, nullptr, &type, reinterpret_cast<BYTE*>(&option), &bytes);
        RegCloseKey(key);
    }
    wchar_t language[1000] = {};
    GetPrivateProfileStringW(L"UI", L"language", L"", language, 1000, configPath.c_str());
    std::wstring sender = folder + L"\\Pelloc.exe";
    const bool present = PathFileExistsW(sender.c_str()) != FALSE;
    InsertMenuW(menus.Take(), 0, MF_BYPOSITION | MF_STRING, 100, L"Transferred with Pelloc");

    Gdiplus::GdiplusShutdown(token);
    if (SUCCEEDED(com))
        CoUninitialize();
    return present && selected;
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    const int iterations = argc > 1 ? std::max(10, _wtoi(argv[1])) : 2000;
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);

    // The sender "installed" in a folder of our own, and the shell's data object for one file
    // beside it, made once: Explorer has it already.
    const quillet::test::FakeSender installed(true, "en");
    const std::wstring config = installed.folder() + L"\\config.ini";
    const std::wstring item = installed.folder() + L"\\item.txt";
    quillet::test::WriteFileBytes(item, "", 0);
    ComPtr<IDataObject> data;
    if (FAILED(ShellDataObject(item, data.GetAddressOf()))) {
        std::printf("no data object for %ls\n", item.c_str());
        return 1;
    }

    const std::wstring modulePath = quillet::test::ModulePath();
    HMODULE module = LoadLibraryW(modulePath.c_str());
    auto getClassObject = module ? reinterpret_cast<HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**)>(
                                       reinterpret_cast<void*>(GetProcAddress(module, "DllGetClassObject")))
                                 : nullptr;
    ComPtr<IClassFactory> factory;
    if (!getClassObject ||
        FAILED(getClassObject(CLSID_FTKelMN, IID_IClassFactory, reinterpret_cast<void**>(factory.GetAddressOf())))) {
        std::printf("cannot load %ls\n", modulePath.c_str());
        return 1;
    }

    // Each row its own menus: our handler never fills the menu it filled last.
    Menus quilletMenus, minimalMenus, floorMenus, fullFloorMenus;
    std::vector<Row> rows;
    rows.emplace_back("Quillet: create+Initialize+QueryContextMenu",
                      [&] { return RunHandler(factory.Get(), data.Get(), quilletMenus); });
    rows.emplace_back("minimal handler (one string item)", [&] {
        ComPtr<IShellExtInit> init;
        ComPtr<IContextMenu> menu;
        return SUCCEEDED(CreateMinimalHandler(IID_IShellExtInit, reinterpret_cast<void**>(init.GetAddressOf()))) &&
               SUCCEEDED(init->Initialize(nullptr, data.Get(), nullptr)) && SUCCEEDED(init.As(&menu)) &&
               SUCCEEDED(menu->QueryContextMenu(minimalMenus.Take(), 0, 100, 0x7FFF, CMF_NORMAL));
    });
    rows.emplace_back("floor of the calls the handler must make",
                      [&] { return RunFloor(config, floorMenus, nullptr); });
    rows.emplace_back("  + drop-list read + second App Paths read",
                      [&] { return RunFloor(config, fullFloorMenus, data.Get()); });
    if (!Measure(iterations, rows))
        return 1;
    const Stats& quillet = rows[0].stats;

    std::printf("right-click latency, %d warm runs each, interleaved (microseconds)\n", iterations);
    std::printf("  %-44s %10s %10s\n", "", "median", "p95");
    for (const Row& row : rows)
        std::printf("  %-44s %10.1f %10.1f\n", row.name, row.stats.median, row.stats.p95);
    std::printf("  Quillet / minimal handler: %.2fx median\n", quillet.median / rows[1].stats.median);
    std::printf("  Quillet / floor:           %.2fx median (target: 1.3x or less)\n",
                quillet.median / rows[2].stats.median);
    std::printf("  Quillet / complete floor:  %.2fx median\n", quillet.median / rows[3].stats.median);

    factory.Reset();
    data.Reset();
    CoUninitialize();
    return 0;
}
