// The handler held under load: thousands of full right-click cycles in one process must give
// back every GDI object, handle and module lock they take.
#include <gtest/gtest.h>
#include <shlobj.h>
#include <wrl/client.h>

#include <memory>

#include "common/drop_data_object.h"
#include "common/module_library.h"
#include "common/registry.h"
#include "quillet_idl.h"
#include "sender/sender_installation.h"
#include "support/environment.h"
#include "support/resource_census.h"

using Microsoft::WRL::ComPtr;

namespace quillet::test {
namespace {

constexpr int kWarmUpCycles = 50;
constexpr int kCycles = 5000;

class Soak : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)));
        ASSERT_TRUE(module.loaded());
        ASSERT_EQ(module.GetClassObject(CLSID_FTKelMN, IID_IClassFactory,
                                        reinterpret_cast<void**>(factory.GetAddressOf())),
                  S_OK);
        // Every invocation leaves its list file behind: keep them in a folder of our own.
        temp = MakeTempFolder(L"soak");
        wchar_t oldTmp[MAX_PATH] = {}, oldTemp[MAX_PATH] = {};
        GetEnvironmentVariableW(L"TMP", oldTmp, MAX_PATH);
        GetEnvironmentVariableW(L"TEMP", oldTemp, MAX_PATH);
        savedTmp = oldTmp;
        savedTemp = oldTemp;
        SetEnvironmentVariableW(L"TMP", temp.c_str());
        SetEnvironmentVariableW(L"TEMP", temp.c_str());
        sender.Delete(); // the sender is absent: nothing is started
        item = temp + L"\\item.txt";
        WriteFileBytes(item, "x", 1);
        data = DropDataObject::Create(WideDropFiles({item, temp}));
        menus[0] = CreatePopupMenu();
        menus[1] = CreatePopupMenu();
        drawDc.reset(CreateCompatibleDC(nullptr));
        surface.reset(CreateBitmap(200, 40, 1, 32, nullptr));
    }

    void TearDown() override
    {
        DestroyMenu(menus[0]);
        DestroyMenu(menus[1]);
        data.Reset();
        factory.Reset();
        SetEnvironmentVariableW(L"TMP", savedTmp.c_str());
        SetEnvironmentVariableW(L"TEMP", savedTemp.c_str());
        RemoveTree(temp);
        CoUninitialize();
    }

    // Create, Initialize, QueryContextMenu, measure and draw the item, invoke, release.
    void Cycle(int index)
    {
        ComPtr<IShellExtInit> init;
        ASSERT_EQ(factory->CreateInstance(nullptr, IID_IShellExtInit, reinterpret_cast<void**>(init.GetAddressOf())),
                  S_OK);
        ASSERT_EQ(init->Initialize(nullptr, data.Get(), nullptr), S_OK);
        ComPtr<IContextMenu3> menu;
        ASSERT_EQ(init.As(&menu), S_OK);
        HMENU popup = menus[index & 1];
        ASSERT_EQ(menu->QueryContextMenu(popup, 0, 1, 100, CMF_NORMAL), S_OK) << "sender absent: no item";

        MEASUREITEMSTRUCT measure = {};
        measure.CtlType = ODT_MENU;
        LRESULT result = 0;
        EXPECT_EQ(menu->HandleMenuMsg2(WM_MEASUREITEM, 0, reinterpret_cast<LPARAM>(&measure), &result), S_OK);
        SelectionScope onSurface(drawDc.get(), surface.get());
        DRAWITEMSTRUCT draw = {};
        draw.CtlType = ODT_MENU;
        draw.hDC = drawDc.get();
        draw.rcItem = {0, 0, 200, 24};
        draw.itemState = (index & 2) ? ODS_SELECTED : 0;
        EXPECT_EQ(menu->HandleMenuMsg(WM_DRAWITEM, 0, reinterpret_cast<LPARAM>(&draw)), S_OK);

        CMINVOKECOMMANDINFO invoke = {};
        invoke.cbSize = sizeof(invoke);
        invoke.lpVerb = MAKEINTRESOURCEA(0);
        EXPECT_EQ(menu->InvokeCommand(&invoke), S_OK);
    }

    ModuleLibrary module{ModulePath()};
    ComPtr<IClassFactory> factory;
    ComPtr<DropDataObject> data;
    ScopedRegistryValue sender{HKEY_LOCAL_MACHINE, kSenderAppPathsKey, kSenderPathValue};
    std::wstring temp, savedTmp, savedTemp, item;
    HMENU menus[2] = {};
    UniqueMemoryDc drawDc;
    UniqueBitmap surface;
};

size_t FilesIn(const std::wstring& folder, const wchar_t* pattern)
{
    size_t count = 0;
    WIN32_FIND_DATAW found = {};
    HANDLE search = FindFirstFileW((folder + L"\\" + pattern).c_str(), &found);
    if (search == INVALID_HANDLE_VALUE)
        return 0;
    do
        ++count;
    while (FindNextFileW(search, &found));
    FindClose(search);
    return count;
}

TEST_F(Soak, FiveThousandCyclesGiveEverythingBack)
{
    for (int i = 0; i < kWarmUpCycles && !HasFatalFailure(); ++i)
        Cycle(i);
    const ResourceCensus before = TakeCensus();
    for (int i = 0; i < kCycles && !HasFatalFailure(); ++i)
        Cycle(i);
    const ResourceCensus after = TakeCensus();

    EXPECT_EQ(after.gdiObjects, before.gdiObjects);
    EXPECT_EQ(after.userObjects, before.userObjects);
    EXPECT_EQ(after.kernelHandles, before.kernelHandles);
    EXPECT_LT(after.gdiHighWater, before.gdiHighWater + kCycles / 10) << "GDI objects pile up";
    EXPECT_LT(after.kernelHighWater, before.kernelHighWater + 4 * kCycles / 10) << "handles pile up";
    EXPECT_EQ(data->References(), 1u) << "every drop-list medium was released";
    EXPECT_EQ(FilesIn(temp, L"~ft*.tmp"), static_cast<size_t>(kWarmUpCycles + kCycles))
        << "one list file per invocation";
    factory.Reset();
    EXPECT_EQ(module.CanUnloadNow(), S_OK);
}

} // namespace
} // namespace quillet::test
