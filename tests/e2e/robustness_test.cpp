// Malformed input for every method, for a bounded time: nothing may crash, and every result
// must be one the handler is allowed to give.
#include <gtest/gtest.h>
#include <shlobj.h>
#include <wrl/client.h>

#include <algorithm>
#include <clocale>
#include <initializer_list>
#include <locale.h>
#include <random>
#include <string>

#include "common/drop_data_object.h"
#include "common/module_library.h"
#include "common/registry.h"
#include "quillet_idl.h"
#include "sender/sender_installation.h"
#include "support/environment.h"

using Microsoft::WRL::ComPtr;

namespace quillet::test {
namespace {

constexpr ULONGLONG kBudgetMs = 4000;

bool OneOf(HRESULT hr, std::initializer_list<HRESULT> allowed)
{
    return std::find(allowed.begin(), allowed.end(), hr) != allowed.end();
}

class Robustness : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)));
        ASSERT_EQ(module.GetClassObject(CLSID_FTKelMN, IID_IClassFactory,
                                        reinterpret_cast<void**>(factory.GetAddressOf())),
                  S_OK);
        temp = MakeTempFolder(L"robust");
        GetEnvironmentVariableW(L"TMP", savedTmp, MAX_PATH);
        SetEnvironmentVariableW(L"TMP", temp.c_str());
        sender.Delete();
    }
    void TearDown() override
    {
        factory.Reset();
        SetEnvironmentVariableW(L"TMP", savedTmp);
        RemoveTree(temp);
        EXPECT_EQ(module.CanUnloadNow(), S_OK);
        CoUninitialize();
    }

    ComPtr<IContextMenu3> NewHandler()
    {
        ComPtr<IContextMenu3> menu;
        EXPECT_EQ(factory->CreateInstance(nullptr, IID_IContextMenu3, reinterpret_cast<void**>(menu.GetAddressOf())),
                  S_OK);
        return menu;
    }

    // A drop list that is valid, truncated, pointing out of its block, unterminated or pure noise.
    std::vector<BYTE> RandomDropList()
    {
        std::vector<std::wstring> names;
        const int count = static_cast<int>(random() % 5);
        for (int i = 0; i < count; ++i)
            names.push_back(temp + L"\\item" + std::to_wstring(random() % 1000) + L".txt");
        std::vector<BYTE> bytes = WideDropFiles(names);
        if (random() % 2)
            bytes = AnsiDropFiles({"C:\\a.txt", "C:\\b"});
        switch (random() % 5) {
        case 0:
            bytes.resize(random() % (bytes.size() + 1)); // truncated, maybe below the header
            break;
        case 1: // offset anywhere
            if (bytes.size() >= sizeof(DWORD))
                *reinterpret_cast<DWORD*>(bytes.data()) = static_cast<DWORD>(random());
            break;
        case 2: // no closing empty name
            while (!bytes.empty() && bytes.back() == 0)
                bytes.pop_back();
            break;
        case 3:
            for (BYTE& b : bytes)
                b = static_cast<BYTE>(random());
            break;
        default:
            break;
        }
        if (bytes.empty())
            bytes.push_back(0);
        return bytes;
    }

    ModuleLibrary module{ModulePath()};
    ComPtr<IClassFactory> factory;
    ScopedRegistryValue sender{HKEY_LOCAL_MACHINE, kSenderAppPathsKey, kSenderPathValue};
    std::wstring temp;
    wchar_t savedTmp[MAX_PATH] = {};
    std::mt19937 random{20261121};
};

TEST_F(Robustness, MalformedSelectionsAreDeclinedOrTakenNeverFatal)
{
    ComPtr<IContextMenu3> menu = NewHandler();
    ComPtr<IShellExtInit> init;
    ASSERT_EQ(menu.As(&init), S_OK);
    EXPECT_EQ(init->Initialize(nullptr, nullptr, nullptr), E_FAIL);
    EXPECT_EQ(init->Initialize(nullptr, DropDataObject::CreateWithoutDropList().Get(), nullptr), E_FAIL);

    const ULONGLONG deadline = GetTickCount64() + kBudgetMs;
    int rounds = 0;
    for (; GetTickCount64() < deadline; ++rounds) {
        ComPtr<DropDataObject> data = DropDataObject::Create(RandomDropList());
        const HRESULT hr = init->Initialize(nullptr, data.Get(), nullptr);
        ASSERT_TRUE(OneOf(hr, {S_OK, E_FAIL})) << std::hex << hr << " in round " << rounds;
        ASSERT_EQ(data->References(), 1u) << "medium not released in round " << rounds;
        if (rounds % 16 == 0) {
            CMINVOKECOMMANDINFO invoke = {};
            invoke.cbSize = sizeof(invoke);
            invoke.lpVerb = MAKEINTRESOURCEA(0);
            ASSERT_TRUE(OneOf(menu->InvokeCommand(&invoke), {S_OK, E_INVALIDARG}));
        }
    }
    EXPECT_GT(rounds, 50);
}

TEST_F(Robustness, OutOfRangeArgumentsGetTheStatedAnswers)
{
    const ULONGLONG deadline = GetTickCount64() + kBudgetMs;
    int rounds = 0;
    for (; GetTickCount64() < deadline; ++rounds) {
        ComPtr<IContextMenu3> menu = NewHandler();
        HMENU popup = (random() % 4) ? CreatePopupMenu() : nullptr;
        const UINT flags = static_cast<UINT>(random());
        const HRESULT query = menu->QueryContextMenu(popup, static_cast<UINT>(random()), static_cast<UINT>(random()),
                                                     static_cast<UINT>(random()), flags);
        ASSERT_TRUE(OneOf(query, {S_OK, E_FAIL, MAKE_HRESULT(SEVERITY_SUCCESS, 0, 1)})) << std::hex << query;

        char narrow[64] = {};
        wchar_t wide[64] = {};
        const UINT type = static_cast<UINT>(random() % 8);
        ASSERT_EQ(menu->GetCommandString(random(), type, nullptr, (random() % 2) ? nullptr : narrow,
                                         static_cast<UINT>(random() % 64)),
                  E_INVALIDARG);
        ASSERT_EQ(menu->GetCommandString(0, GCS_VERBW, nullptr, reinterpret_cast<LPSTR>(wide), 64), E_INVALIDARG);

        // Menu messages: null structures, foreign identifiers, other messages, no result pointer.
        MEASUREITEMSTRUCT measure = {};
        measure.itemID = static_cast<UINT>(random());
        measure.itemWidth = 12345;
        DRAWITEMSTRUCT draw = {};
        draw.itemID = measure.itemID;
        LRESULT result = 777;
        const UINT messages[] = {WM_MEASUREITEM, WM_DRAWITEM, WM_INITMENUPOPUP, WM_MENUCHAR,
                                 static_cast<UINT>(random() % 0x400)};
        for (UINT message : messages) {
            const LPARAM structure = message == WM_DRAWITEM ? reinterpret_cast<LPARAM>(&draw)
                                                            : reinterpret_cast<LPARAM>(&measure);
            ASSERT_EQ(menu->HandleMenuMsg(message, 0, 0), S_OK);
            ASSERT_EQ(menu->HandleMenuMsg2(message, 0, 0, nullptr), S_OK);
            if (message == WM_MEASUREITEM || message == WM_DRAWITEM) {
                if (measure.itemID == 0)
                    continue; // that identifier is the handler's own before any insertion
                ASSERT_EQ(menu->HandleMenuMsg2(message, 0, structure, &result), S_OK);
                ASSERT_EQ(result, 777) << "a foreign item must get no answer";
                ASSERT_EQ(measure.itemWidth, 12345u);
            }
        }

        // Verbs: null, foreign offsets, strings, odd structure sizes.
        ASSERT_TRUE(OneOf(menu->InvokeCommand(nullptr), {E_INVALIDARG, E_FAIL}));
        CMINVOKECOMMANDINFOEX invoke = {};
        invoke.cbSize = (random() % 2) ? sizeof(CMINVOKECOMMANDINFOEX) : static_cast<DWORD>(random() % 200);
        invoke.lpVerb = MAKEINTRESOURCEA(1 + random() % 0xFFFE);
        ASSERT_EQ(menu->InvokeCommand(reinterpret_cast<CMINVOKECOMMANDINFO*>(&invoke)), E_INVALIDARG);
        invoke.lpVerb = "no such verb";
        invoke.lpVerbW = (random() % 2) ? nullptr : L"no such verb";
        ASSERT_EQ(menu->InvokeCommand(reinterpret_cast<CMINVOKECOMMANDINFO*>(&invoke)), E_INVALIDARG);
        invoke.lpVerb = MAKEINTRESOURCEA(0);
        ASSERT_TRUE(OneOf(menu->InvokeCommand(reinterpret_cast<CMINVOKECOMMANDINFO*>(&invoke)), {E_INVALIDARG}))
            << "nothing selected: nothing to write";

        ASSERT_EQ(menu->QueryInterface(IID_IContextMenu, nullptr), E_POINTER);
        if (popup)
            DestroyMenu(popup);
    }
    EXPECT_GT(rounds, 50);
}

// The runtime library is shared with the host: after a command the host must read the same
// locale, and this thread must keep its locale mode.
TEST_F(Robustness, ACommandLeavesTheHostsLocaleAsItWas)
{
    const std::string locale = std::setlocale(LC_ALL, nullptr);
    const int mode = _configthreadlocale(0);
    const std::wstring item = temp + L"\\item.txt";
    ASSERT_TRUE(WriteFileBytes(item, "x", 1));
    ComPtr<IContextMenu3> menu = NewHandler();
    ComPtr<IShellExtInit> init;
    ASSERT_EQ(menu.As(&init), S_OK);
    ASSERT_EQ(init->Initialize(nullptr, DropDataObject::Create(WideDropFiles({item})).Get(), nullptr), S_OK);
    CMINVOKECOMMANDINFO invoke = {};
    invoke.cbSize = sizeof(invoke);
    ASSERT_EQ(menu->InvokeCommand(&invoke), S_OK);

    EXPECT_EQ(std::setlocale(LC_ALL, nullptr), locale);
    EXPECT_EQ(_configthreadlocale(0), mode);
}

} // namespace
} // namespace quillet::test
