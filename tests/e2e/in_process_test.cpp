// The handler held in one process, as Explorer holds it: hostile hosts and threads get stated
// answers and never a crash, and full right-click cycles give back all they take.
#include <gtest/gtest.h>
#include <shlobj.h>
#include <wrl/client.h>

#include <algorithm>
#include <locale.h>
#include <optional>
#include <thread>
#include <utility>

#include "common/drop_data_object.h"
#include "common/registry.h"
#include "handoff/handoff_support.h"
#include "quillet_idl.h"
#include "sender/sender_installation.h"
#include "support/environment.h"
#include "support/module_library.h"

using Microsoft::WRL::ComPtr;

namespace quillet::test {
namespace {

struct InProcess : LoadedServer {
    InProcess() : LoadedServer(ModulePath(), CLSID_FTKelMN) { sender.Delete(); } // the sender is absent: nothing starts

    // A new handler given the selection in data; init is set to its IShellExtInit.
    ComPtr<IContextMenu3> NewHandler(IDataObject* data, ComPtr<IShellExtInit>& init)
    {
        ComPtr<IContextMenu3> menu = Create<IContextMenu3>();
        EXPECT_EQ(menu.As(&init), S_OK);
        EXPECT_EQ(init->Initialize(nullptr, data, nullptr), S_OK);
        return menu;
    }

    ScopedRegistryValue sender{HKEY_LOCAL_MACHINE, kSenderAppPathsKey, kSenderPathValue};
    RedirectedTempFolder temp{L"in-process"}; // every command leaves its list file here
    const std::wstring item = temp.folder.File(L"item.txt");
};

// Explorer gives each window a thread: selections with shortcuts built on four threads at once,
// each by its own handler, must all succeed and never take the process down.
TEST_F(InProcess, SelectionsBuiltOnManyThreadsAtOnce)
{
    // Files, each fourth followed by a shortcut to it: shortcuts are slow to read, so threads
    // overlap while they fill the shared path list.
    std::vector<std::wstring> paths;
    for (int i = 0; i < 130; ++i) {
        paths.push_back(temp.folder.File(L"file" + std::to_wstring(i) + L".txt"));
        if (i % 4 == 0)
            paths.push_back(temp.folder.Shortcut(L"link" + std::to_wstring(i) + L".lnk", paths.back()));
    }
    const std::vector<BYTE> dropList = WideDropFiles(paths);
    const ULONGLONG deadline = GetTickCount64() + 1000;
    struct Outcome { int calls = 0, failures = 0; } outcomes[4];
    std::vector<std::thread> threads;
    for (Outcome& outcome : outcomes)
        threads.emplace_back([&] {
            CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
            {
                // Through a class object of its own; none made leaves no calls.
                const ComPtr<IShellExtInit> init = module.Create<IShellExtInit>(CLSID_FTKelMN);
                ComPtr<DropDataObject> data = DropDataObject::Create(dropList);
                for (; init && (outcome.calls < 2 || GetTickCount64() < deadline); ++outcome.calls)
                    outcome.failures += init->Initialize(nullptr, data.Get(), nullptr) != S_OK;
            }
            CoUninitialize();
        });
    for (std::thread& thread : threads)
        thread.join();
    // Lists torn by two threads at once do not always crash at once: look at every heap too, the
    // runtime's own among them.
    HANDLE heaps[64] = {};
    for (DWORD i = 0, count = GetProcessHeaps(64, heaps); i < count && i < 64; ++i)
        EXPECT_TRUE(HeapValidate(heaps[i], 0, nullptr)) << "heap " << i << " is damaged";
    for (const Outcome& outcome : outcomes) {
        EXPECT_EQ(outcome.failures, 0);
        EXPECT_GE(outcome.calls, 2);
    }
}

// Hosts whose current folder, or the drive's root, holds a "Pelloc.exe" (with a config.ini
// naming zh-CN) that the sender's registration does not name: no command, no such caption, and
// nothing started, whatever the "Path" value is short of an absolute folder.
TEST_F(InProcess, APlantedSenderIsNeitherShownNorStarted)
{
    const TempFolder current(L"downloads");
    ASSERT_EQ(_wcsnicmp(current.path.c_str(), L"C:\\", 3), 0);
    // The host's current folder, a folder in it, and the drive's root.
    const std::wstring places[] = {current.path + L"\\", current.Folder(L"Pelloc") + L"\\", L"C:\\"};
    const std::string ini = "[UI]\r\nlanguage=zh-CN\r\n";
    for (const std::wstring& place : places) {
        ASSERT_TRUE(CopyFileW((ProgramDirectory() + L"sample-sender.exe").c_str(), (place + L"Pelloc.exe").c_str(),
                              FALSE));
        ASSERT_TRUE(WriteFileBytes(place + L"config.ini", ini.data(), ini.size()));
    }
    wchar_t hostFolder[MAX_PATH] = {};
    GetCurrentDirectoryW(MAX_PATH, hostFolder);
    ASSERT_TRUE(SetCurrentDirectoryW(current.path.c_str()));

    const struct { const char* what; std::optional<std::wstring> path; } cases[] = { // path: nothing for no value
        {"no Path value", std::nullopt}, {"an empty Path", L""},
        {"a relative Path", L"Pelloc"}, {"a Path rooted on no drive", L"\\"},
    };
    for (const auto& c : cases) {
        c.path ? sender.SetString(*c.path) : sender.Delete();
        ComPtr<IShellExtInit> init;
        ComPtr<IContextMenu3> menu = NewHandler(DropDataObject::Create(WideDropFiles({item})).Get(), init);
        HMENU popup = CreatePopupMenu();
        EXPECT_EQ(menu->QueryContextMenu(popup, 0, 1, 100, CMF_NORMAL), S_OK) << c.what;
        EXPECT_EQ(GetMenuItemCount(popup), 0) << c.what;
        DestroyMenu(popup);
        CMINVOKECOMMANDINFOEX byCaption = {};
        byCaption.cbSize = sizeof(byCaption);
        byCaption.lpVerb = "verb";
        byCaption.lpVerbW = L"\u4EE5Pelloc \u4F20\u8F93";
        EXPECT_EQ(menu->InvokeCommand(reinterpret_cast<CMINVOKECOMMANDINFO*>(&byCaption)), E_INVALIDARG)
            << c.what << ": a config.ini was read";
        EXPECT_EQ(InvokeFirst(menu.Get()), S_OK) << c.what;
    }
    SetCurrentDirectoryW(hostFolder);
    Sleep(500); // time for a planted program to leave its record
    for (const std::wstring& place : places) {
        EXPECT_EQ(GetFileAttributesW((place + L"sender-report.txt").c_str()), INVALID_FILE_ATTRIBUTES)
            << "started: " << testing::PrintToString(place);
        for (const wchar_t* name : {L"Pelloc.exe", L"config.ini", L"sender-report.txt"})
            DeleteFileW((place + name).c_str());
    }
}

// {GDI slot, handle slot}: the highest slots a fresh GDI object and a fresh handle land in (Wine
// counts neither for GetGuiResources nor GetProcessHandleCount). Leaked objects use up the free
// slots, so a leak of one per cycle pushes these up by the number of cycles.
std::pair<unsigned, unsigned> TopSlots()
{
    constexpr int kProbes = 256; // more than the free slots this program leaves
    unsigned gdiTop = 0, handleTop = 0;
    UniqueBitmap bitmaps[kProbes]; // all held until the end: each probe takes a slot of its own
    UniqueKernelHandle events[kProbes];
    for (int i = 0; i < kProbes; ++i) {
        bitmaps[i].reset(CreateBitmap(1, 1, 1, 32, nullptr));
        events[i].reset(CreateEventW(nullptr, TRUE, FALSE, nullptr));
        gdiTop = std::max(gdiTop, static_cast<unsigned>(LOWORD(reinterpret_cast<ULONG_PTR>(bitmaps[i].get()))));
        handleTop = std::max(handleTop, static_cast<unsigned>(reinterpret_cast<ULONG_PTR>(events[i].get())));
    }
    return {gdiTop, handleTop};
}

// The runtime library is shared with the host too: afterwards the host must still read the locale
// every program starts in, "C" (earlier tests here have invoked the command as well), and this
// thread must keep its locale mode.
TEST_F(InProcess, SoakedInRightClickCyclesItGivesEverythingBack)
{
    const int localeMode = _configthreadlocale(0);
    constexpr int kWarmUpCycles = 10, kCycles = 100;
    ComPtr<DropDataObject> data = DropDataObject::Create(WideDropFiles({item, temp.path()}));
    HMENU menus[2] = {CreatePopupMenu(), CreatePopupMenu()};
    UniqueMemoryDc dc(CreateCompatibleDC(nullptr));
    UniqueBitmap surface(CreateBitmap(200, 40, 1, 32, nullptr));
    // Create, Initialize, QueryContextMenu, measure and draw the item, invoke, release.
    const auto cycle = [&](int index) {
        ComPtr<IShellExtInit> init;
        ComPtr<IContextMenu3> menu = NewHandler(data.Get(), init);
        // Another menu than the last one each time; the sender is absent, so no item is added.
        ASSERT_EQ(menu->QueryContextMenu(menus[index & 1], 0, 1, 100, CMF_NORMAL), S_OK);
        char help[64] = {};
        EXPECT_EQ(menu->GetCommandString(0, static_cast<UINT>(index % 8), nullptr, help, 64), E_INVALIDARG);
        // Identifier 0 is the handler's own while it has inserted nothing; another gets no answer.
        MEASUREITEMSTRUCT measure = {}, foreign = {ODT_MENU, 0, 7, 0, 0, 0};
        LRESULT result = 0, untouched = 777;
        EXPECT_EQ(menu->HandleMenuMsg2(WM_MEASUREITEM, 0, reinterpret_cast<LPARAM>(&measure), &result), S_OK);
        EXPECT_EQ(menu->HandleMenuMsg2(WM_MEASUREITEM, 0, reinterpret_cast<LPARAM>(&foreign), &untouched), S_OK);
        EXPECT_EQ(menu->HandleMenuMsg2(WM_MEASUREITEM, 0, 0, nullptr), S_OK);
        EXPECT_TRUE(result == TRUE && untouched == 777) << result << ", " << untouched;
        EXPECT_GT(measure.itemWidth, 0u);
        SelectionScope onSurface(dc.get(), surface.get());
        DRAWITEMSTRUCT draw = {0, 0, 0, 0, UINT((index & 2) ? ODS_SELECTED : 0), nullptr, dc.get(), {0, 0, 200, 24}, 0};
        EXPECT_EQ(menu->HandleMenuMsg(WM_DRAWITEM, 0, reinterpret_cast<LPARAM>(&draw)), S_OK);
        EXPECT_EQ(GetPixel(dc.get(), 199, 23), GetSysColor(draw.itemState ? COLOR_HIGHLIGHT : COLOR_MENU));
        EXPECT_EQ(menu->InvokeCommand(nullptr), E_INVALIDARG);
        EXPECT_EQ(InvokeFirst(menu.Get(), 1), E_INVALIDARG) << "no item, no offset but 0";
        EXPECT_EQ(init.Reset(), 1u) << "the menu's reference remains";
        EXPECT_EQ(InvokeFirst(menu.Get()), S_OK);
    };
    for (int i = 0; i < kWarmUpCycles && !HasFailure(); ++i)
        cycle(i);
    const auto [gdiBefore, handlesBefore] = TopSlots();
    for (int i = 0; i < kCycles && !HasFailure(); ++i)
        cycle(i);
    const auto [gdiAfter, handlesAfter] = TopSlots();
    DestroyMenu(menus[0]);
    DestroyMenu(menus[1]);

    // Half a leak per cycle is the bound; handle values go in steps of 4.
    EXPECT_LT(gdiAfter, gdiBefore + kCycles / 2) << "GDI objects pile up";
    EXPECT_LT(handlesAfter, handlesBefore + 4 * kCycles / 2) << "handles pile up";
    EXPECT_EQ(data->References(), 1u) << "every drop-list medium was released";
    EXPECT_STREQ(setlocale(LC_ALL, nullptr), "C");
    EXPECT_EQ(_configthreadlocale(0), localeMode);
    EXPECT_EQ(ListFiles(temp.path()).size(), size_t{kWarmUpCycles + kCycles}) << "one list file per command";
}

} // namespace
} // namespace quillet::test
