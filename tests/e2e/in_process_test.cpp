// The handler held in one process, as Explorer holds it: malformed input to every method gets a
// stated answer and never a crash, and full right-click cycles give back all they take.
#include <gtest/gtest.h>
#include <shlobj.h>
#include <wrl/client.h>

#include <algorithm>
#include <filesystem>
#include <locale.h>
#include <random>
#include <utility>

#include "common/drop_data_object.h"
#include "common/module_library.h"
#include "common/registry.h"
#include "quillet_idl.h"
#include "sender/sender_installation.h"
#include "support/environment.h"

using Microsoft::WRL::ComPtr;

namespace quillet::test {
namespace {

// The command by its offset 0, as a menu that holds the handler's item chooses it.
HRESULT InvokeFirst(IContextMenu* menu)
{
    CMINVOKECOMMANDINFO invoke = {};
    invoke.cbSize = sizeof(invoke);
    return menu->InvokeCommand(&invoke);
}

class InProcess : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
        ASSERT_EQ(module.GetClassObject(CLSID_FTKelMN, IID_PPV_ARGS(&factory)), S_OK);
        sender.Delete(); // the sender is absent: nothing is started
        ASSERT_TRUE(WriteFileBytes(item, "x", 1));
    }
    void TearDown() override
    {
        EXPECT_EQ(module.CanUnloadNow(), S_OK);
        CoUninitialize();
    }

    ComPtr<IContextMenu3> NewHandler(ComPtr<IShellExtInit>* init = nullptr)
    {
        ComPtr<IContextMenu3> menu;
        EXPECT_EQ(factory->CreateInstance(nullptr, IID_PPV_ARGS(&menu)), S_OK);
        EXPECT_TRUE(!init || menu.As(init) == S_OK);
        return menu;
    }

    // A drop list that is valid, truncated, pointing out of its block, unterminated or pure noise.
    std::vector<BYTE> RandomDropList()
    {
        std::vector<std::wstring> names(random() % 5);
        for (std::wstring& name : names)
            name = temp.path() + L"\\item" + std::to_wstring(random() % 1000) + L".txt";
        std::vector<BYTE> bytes = (random() % 2) ? AnsiDropFiles({"C:\\a.txt", "C:\\b"}) : WideDropFiles(names);
        const auto damage = random() % 5;
        if (damage == 0)
            bytes.resize(random() % bytes.size() + 1); // maybe below the header
        if (damage == 1)
            *reinterpret_cast<DWORD*>(bytes.data()) = static_cast<DWORD>(random()); // names anywhere
        while (damage == 2 && bytes.size() > 1 && bytes.back() == 0) // no closing empty name
            bytes.pop_back();
        for (BYTE& b : bytes)
            b = damage == 3 ? static_cast<BYTE>(random()) : b;
        return bytes;
    }

    ModuleLibrary module{ModulePath()};
    ComPtr<IClassFactory> factory;
    ScopedRegistryValue sender{HKEY_LOCAL_MACHINE, kSenderAppPathsKey, kSenderPathValue};
    RedirectedTempFolder temp{L"in-process"}; // every command leaves its list file here
    const std::wstring item = temp.path() + L"\\item.txt";
    std::mt19937 random{20261121};
};

TEST_F(InProcess, MalformedSelectionsAreDeclinedOrTakenNeverFatal)
{
    ComPtr<IShellExtInit> init;
    ComPtr<IContextMenu3> menu = NewHandler(&init);
    EXPECT_EQ(init->Initialize(nullptr, nullptr, nullptr), E_FAIL);
    EXPECT_EQ(init->Initialize(nullptr, DropDataObject::CreateWithoutDropList().Get(), nullptr), E_FAIL);
    for (int round = 0; round < 400; ++round) {
        ComPtr<DropDataObject> data = DropDataObject::Create(RandomDropList());
        const HRESULT hr = init->Initialize(nullptr, data.Get(), nullptr);
        ASSERT_TRUE(hr == S_OK || hr == E_FAIL) << std::hex << hr << " in round " << round;
        ASSERT_EQ(data->References(), 1u) << "medium not released in round " << round;
        const HRESULT invoked = round % 16 ? S_OK : InvokeFirst(menu.Get());
        ASSERT_TRUE(invoked == S_OK || invoked == E_INVALIDARG) << std::hex << invoked;
    }
}

TEST_F(InProcess, OutOfRangeArgumentsGetTheStatedAnswers)
{
    for (int round = 0; round < 300; ++round) {
        ComPtr<IContextMenu3> menu = NewHandler();
        HMENU popup = (random() % 4) ? CreatePopupMenu() : nullptr;
        const HRESULT query = menu->QueryContextMenu(popup, static_cast<UINT>(random()), static_cast<UINT>(random()),
                                                     static_cast<UINT>(random()), static_cast<UINT>(random()));
        ASSERT_TRUE(query == S_OK || query == E_FAIL || query == MAKE_HRESULT(SEVERITY_SUCCESS, 0, 1)) << query;
        char narrow[64] = {};
        ASSERT_EQ(menu->GetCommandString(random(), static_cast<UINT>(random() % 8), nullptr,
                                         (random() % 2) ? nullptr : narrow, static_cast<UINT>(random() % 64)),
                  E_INVALIDARG);

        // Menu messages: null structures, foreign identifiers (0 is the handler's own before any
        // insertion), other messages, no result pointer.
        MEASUREITEMSTRUCT measure = {};
        measure.itemID = static_cast<UINT>(random() | 1);
        measure.itemWidth = 12345;
        DRAWITEMSTRUCT draw = {};
        draw.itemID = measure.itemID;
        const UINT messages[] = {WM_MEASUREITEM, WM_DRAWITEM, WM_INITMENUPOPUP, WM_MENUCHAR,
                                 static_cast<UINT>(random() % 0x400)};
        for (UINT message : messages) {
            LRESULT result = 777;
            const LPARAM structure = message == WM_DRAWITEM ? reinterpret_cast<LPARAM>(&draw)
                                                            : reinterpret_cast<LPARAM>(&measure);
            ASSERT_EQ(menu->HandleMenuMsg(message, 0, 0), S_OK);
            ASSERT_EQ(menu->HandleMenuMsg2(message, 0, 0, nullptr), S_OK);
            ASSERT_EQ(menu->HandleMenuMsg2(message, 0, structure, &result), S_OK);
            ASSERT_EQ(result, 777) << "a foreign item must get no answer";
            ASSERT_EQ(measure.itemWidth, 12345u);
        }

        // Verbs: null, foreign offsets, strings, odd structure sizes; nothing selected to write.
        ASSERT_EQ(menu->InvokeCommand(nullptr), E_INVALIDARG);
        CMINVOKECOMMANDINFOEX invoke = {};
        invoke.cbSize = (random() % 2) ? sizeof(CMINVOKECOMMANDINFOEX) : static_cast<DWORD>(random() % 200);
        const char* const verbs[] = {MAKEINTRESOURCEA(1 + random() % 0xFFFE), "no such verb", MAKEINTRESOURCEA(0)};
        for (const char* verb : verbs) {
            invoke.lpVerb = verb;
            invoke.lpVerbW = (random() % 2) ? nullptr : L"no such verb";
            ASSERT_EQ(menu->InvokeCommand(reinterpret_cast<CMINVOKECOMMANDINFO*>(&invoke)), E_INVALIDARG);
        }
        if (popup)
            DestroyMenu(popup);
    }
}

// The runtime library is shared with the host: after a command the host must read the same
// locale, and this thread must keep its locale mode.
TEST_F(InProcess, ACommandLeavesTheHostsLocaleAsItWas)
{
    const std::string locale = setlocale(LC_ALL, nullptr);
    const int mode = _configthreadlocale(0);
    ComPtr<IShellExtInit> init;
    ComPtr<IContextMenu3> menu = NewHandler(&init);
    ASSERT_EQ(init->Initialize(nullptr, DropDataObject::Create(WideDropFiles({item})).Get(), nullptr), S_OK);
    ASSERT_EQ(InvokeFirst(menu.Get()), S_OK);
    EXPECT_EQ(setlocale(LC_ALL, nullptr), locale);
    EXPECT_EQ(_configthreadlocale(0), mode);
}

// {GDI slot, handle slot}: the highest slots a fresh GDI object and a fresh handle land in (Wine
// counts neither for GetGuiResources nor GetProcessHandleCount). Leaked objects use up the free
// slots, so a leak of one per cycle pushes these up by the number of cycles.
std::pair<unsigned, unsigned> TopSlots()
{
    constexpr int kProbes = 256; // more than the free slots this program leaves
    unsigned gdiTop = 0, handleTop = 0;
    HBITMAP bitmaps[kProbes] = {};
    HANDLE events[kProbes] = {};
    for (int i = 0; i < kProbes; ++i) {
        bitmaps[i] = CreateBitmap(1, 1, 1, 32, nullptr);
        events[i] = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        gdiTop = std::max(gdiTop, static_cast<unsigned>(LOWORD(reinterpret_cast<ULONG_PTR>(bitmaps[i]))));
        handleTop = std::max(handleTop, static_cast<unsigned>(reinterpret_cast<ULONG_PTR>(events[i])));
    }
    for (int i = 0; i < kProbes; ++i) {
        DeleteObject(bitmaps[i]);
        CloseHandle(events[i]);
    }
    return {gdiTop, handleTop};
}

TEST_F(InProcess, SoakedInRightClickCyclesItGivesEverythingBack)
{
    constexpr int kWarmUpCycles = 10, kCycles = 100;
    ComPtr<DropDataObject> data = DropDataObject::Create(WideDropFiles({item, temp.path()}));
    HMENU menus[2] = {CreatePopupMenu(), CreatePopupMenu()};
    UniqueMemoryDc dc(CreateCompatibleDC(nullptr));
    UniqueBitmap surface(CreateBitmap(200, 40, 1, 32, nullptr));
    // Create, Initialize, QueryContextMenu, measure and draw the item, invoke, release.
    const auto cycle = [&](int index) {
        ComPtr<IShellExtInit> init;
        ComPtr<IContextMenu3> menu = NewHandler(&init);
        ASSERT_EQ(init->Initialize(nullptr, data.Get(), nullptr), S_OK);
        // Another menu than the last one each time; the sender is absent, so no item is added.
        ASSERT_EQ(menu->QueryContextMenu(menus[index & 1], 0, 1, 100, CMF_NORMAL), S_OK);
        MEASUREITEMSTRUCT measure = {};
        LRESULT result = 0;
        EXPECT_EQ(menu->HandleMenuMsg2(WM_MEASUREITEM, 0, reinterpret_cast<LPARAM>(&measure), &result), S_OK);
        EXPECT_EQ(result, TRUE) << "identifier 0 is the handler's own while it has inserted nothing";
        EXPECT_GT(measure.itemWidth, 0u);
        SelectionScope onSurface(dc.get(), surface.get());
        DRAWITEMSTRUCT draw = {};
        draw.hDC = dc.get();
        draw.rcItem = {0, 0, 200, 24};
        draw.itemState = (index & 2) ? ODS_SELECTED : 0;
        EXPECT_EQ(menu->HandleMenuMsg(WM_DRAWITEM, 0, reinterpret_cast<LPARAM>(&draw)), S_OK);
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
    const auto lists = std::count_if(std::filesystem::directory_iterator(temp.path()), {}, [](const auto& entry) {
        return entry.path().filename().wstring().rfind(L"~ft", 0) == 0;
    });
    EXPECT_EQ(lists, kWarmUpCycles + kCycles) << "one list file per command";
}

} // namespace
} // namespace quillet::test
