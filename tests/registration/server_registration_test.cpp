// DllRegisterServer and DllUnregisterServer of the real module, judged by the registry they leave.
#include <gtest/gtest.h>

#include <windows.h>
#include <oleauto.h>

#include <string>
#include <vector>

#include "registration/server_registration.h"
#include "resources/resource_ids.h"
#include "support/environment.h"
#include "support/import_patch.h"
#include "support/module_library.h"
#include "support/registry.h"

namespace quillet::test {
namespace {

const std::wstring kClsid = L"{F2196025-497B-4A61-AEA7-27325149132A}", kClassKey = L"CLSID\\" + kClsid;
const std::wstring kTypeLibKey = L"TypeLib\\{30DD7C9C-949D-45E9-B5D1-18A15B569313}\\1.0";
const std::wstring kHandlers = L"\\shellex\\ContextMenuHandlers\\";
const std::wstring kHandledKinds[] = {L"*", L"Directory", L"Folder", L"lnkfile"};
// Not ours: it must outlive every registration and unregistration.
const std::wstring kNeighbour = L"*" + kHandlers + L"Neighbour";
const RegistryState kUnregistered{kNeighbour + L" @='theirs'"};

// What registration may touch. Of the type library's entries, which Windows writes, the two
// that come from the module: its path and help folder.
RegistryState Current()
{
    std::vector<std::wstring> keys = {L"Quillet.FTKelMN.1", L"Quillet.FTKelMN", kClassKey, kNeighbour,
                                      kTypeLibKey + L"\\0\\win64", kTypeLibKey + L"\\HELPDIR"};
    for (const std::wstring& kind : kHandledKinds)
        keys.push_back(kind + kHandlers + L"FTKel");
    return ClassesState(keys);
}

enum Outcome { Unregistered, HandlerKeys, Classes, Registered };

// Each outcome holds the one before it.
RegistryState Expected(Outcome outcome, const std::wstring& module)
{
    RegistryState state = kUnregistered;
    if (outcome >= HandlerKeys)
        for (const std::wstring& kind : kHandledKinds)
            state.insert(kind + kHandlers + L"FTKel @='" + kClsid + L"'");
    if (outcome >= Classes)
        state.insert({
            L"Quillet.FTKelMN.1 @='FTKelMN Class'", L"Quillet.FTKelMN.1\\CLSID @='" + kClsid + L"'",
            L"Quillet.FTKelMN @='FTKelMN Class'", L"Quillet.FTKelMN\\CLSID @='" + kClsid + L"'",
            L"Quillet.FTKelMN\\CurVer @='Quillet.FTKelMN.1'",
            kClassKey + L" @='FTKelMN Class'", kClassKey + L"\\ProgID @='Quillet.FTKelMN.1'",
            kClassKey + L"\\VersionIndependentProgID @='Quillet.FTKelMN'", kClassKey + L"\\Programmable",
            kClassKey + L"\\InprocServer32 @='" + module + L"' ThreadingModel='Apartment'",
            kClassKey + L"\\TypeLib @='{30DD7C9C-949D-45E9-B5D1-18A15B569313}'",
        });
    if (outcome >= Registered)
        state.insert({kTypeLibKey + L"\\0\\win64 @='" + module + L"'",
                      kTypeLibKey + L"\\HELPDIR @='" + module.substr(0, module.find_last_of(L'\\')) + L"'"});
    return state;
}

enum Step { Register, Unregister, AddStale, SpoilTypeLib, AddTlbFile };

// The steps that change a copy of the module, before it is loaded.
void ChangeCopy(Step step, const std::wstring& path)
{
    if (step == SpoilTypeLib) {
        char noTypeLibrary[4] = {};
        const HANDLE update = BeginUpdateResourceW(path.c_str(), FALSE);
        ASSERT_TRUE(update && UpdateResourceW(update, L"TYPELIB", MAKEINTRESOURCEW(1),
                                              MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US), noTypeLibrary, 4));
        ASSERT_TRUE(EndUpdateResourceW(update, FALSE));
    } else if (step == AddTlbFile) {
        const HRSRC library = FindResourceW(nullptr, MAKEINTRESOURCEW(1), L"TYPELIB"); // linked into this program
        ASSERT_TRUE(WriteFileBytes(path.substr(0, path.rfind(L'.')) + L".tlb",
                                   LockResource(LoadResource(nullptr, library)), SizeofResource(nullptr, library)));
    }
}

// In a journey, whichever failure the system reports: for unregistering a type library that is
// not registered, Windows and Wine answer differently.
const HRESULT kSomeFailure = E_FAIL;

// The module, and copies of it: with a quote in the path, at paths one short of and exactly
// MAX_PATH characters long, and with a TYPELIB resource that is no type library. The result is
// that of the last step; the others succeed.
TEST(Registration, LeavesTheRegistryAsItsStepsSay)
{
    const std::wstring folder = MakeTempFolder(L"it's"), file = L"\\Quillet.dll";
    ASSERT_FALSE(folder.empty());
    const auto pathOfLength = [&](size_t length) {
        return folder + L"\\" + std::wstring(length - folder.size() - 1 - file.size(), L'p') + file;
    };
    ITypeLib* none = nullptr;
    const HRESULT noTlbFile = LoadTypeLib((folder + L"\\Quillet.tlb").c_str(), &none);
    const struct { const char* what; std::wstring path; std::vector<Step> steps; HRESULT result; Outcome outcome; }
        journeys[] = {
        {"register", ModulePath(), {Register}, S_OK, Registered},
        {"register over stale entries", ModulePath(), {Register, AddStale, Register}, S_OK, Registered},
        {"unregister", ModulePath(), {Register, AddStale, Unregister}, S_OK, Unregistered},
        {"unregister what was never registered", ModulePath(), {Unregister}, kSomeFailure, Unregistered},
        {"a quote in the path", folder + file, {Register}, S_OK, Registered},
        {"a path one short of MAX_PATH", pathOfLength(MAX_PATH - 1), {Register}, S_OK, Registered},
        {"a path that fills MAX_PATH", pathOfLength(MAX_PATH), {Register},
         HRESULT_FROM_WIN32(ERROR_INSUFFICIENT_BUFFER), HandlerKeys},
        {"no type library loads", folder + L"\\x" + file, {SpoilTypeLib, Register}, noTlbFile, Classes},
        {"a .tlb file beside", folder + L"\\y" + file, {SpoilTypeLib, AddTlbFile, Register}, S_OK, Registered},
    };
    ASSERT_TRUE(WriteString(HKEY_CLASSES_ROOT, kNeighbour, L"", L"theirs"));
    for (const auto& journey : journeys) {
        SCOPED_TRACE(journey.what);
        if (journey.path != ModulePath()) {
            CreateDirectoryW(journey.path.substr(0, journey.path.size() - file.size()).c_str(), nullptr);
            ASSERT_TRUE(CopyFileW(ModulePath().c_str(), journey.path.c_str(), FALSE));
        }
        for (const Step step : journey.steps)
            ChangeCopy(step, journey.path);
        ServerModule module(journey.path);
        const StrictRegistry strict(GetModuleHandleW(journey.path.c_str()));
        for (const Step& step : journey.steps) {
            const HRESULT expected = &step == &journey.steps.back() ? journey.result : S_OK;
            const HRESULT hr = step == Register ? module.RegisterServer()
                               : step == Unregister ? module.UnregisterServer()
                                                    : expected;
            EXPECT_TRUE(expected == kSomeFailure ? FAILED(hr) : hr == expected) << std::hex << hr;
            if (step == AddStale) {
                for (const std::wstring& key : {kClassKey + L"\\Stale\\Deeper", kClassKey + L"\\Programmable\\Stale"})
                    ASSERT_TRUE(WriteString(HKEY_CLASSES_ROOT, key, L"", L"stale"));
                ASSERT_TRUE(WriteString(HKEY_CLASSES_ROOT, kClassKey, L"Stale", L"stale"));
            }
        }
        EXPECT_EQ(Current(), Expected(journey.outcome, journey.path));
        EXPECT_TRUE(OpenKey(HKEY_CLASSES_ROOT, L"CLSID", KEY_READ));
        module.UnregisterServer();
    }
    // Unregistering reloads the library from the registered module, which the last copy has spoilt,
    // so the system leaves its entries behind.
    DeleteTree(HKEY_CLASSES_ROOT, kTypeLibKey.substr(0, kTypeLibKey.rfind(L'\\')));
    DeleteTree(HKEY_CLASSES_ROOT, L"Interface\\{8F5696C2-8EED-4011-9D24-41EA286FC73A}");
    DeleteTree(HKEY_CLASSES_ROOT, kNeighbour);
    RemoveTree(folder);
}

// Handles the exports never pass: one that names no module, and a module without the script.
// Neither writes anything.
TEST(Registration, EntriesNeedTheModulesPathAndScript)
{
    wchar_t path[MAX_PATH];
    const HINSTANCE noModule = reinterpret_cast<HINSTANCE>(path);
    ASSERT_EQ(GetModuleFileNameW(noModule, path, MAX_PATH), 0u);
    const HRESULT noModuleError = HRESULT_FROM_WIN32(GetLastError());
    EXPECT_EQ(UpdateClassEntries(noModule, IDR_REGISTRATION_SCRIPT, RegistrarMode::Register), noModuleError);
    EXPECT_EQ(UpdateTypeLibrary(noModule, RegistrarMode::Register), noModuleError);
    EXPECT_EQ(UpdateClassEntries(GetModuleHandleW(L"kernel32.dll"), IDR_REGISTRATION_SCRIPT, RegistrarMode::Register),
              HRESULT_FROM_WIN32(ERROR_RESOURCE_NAME_NOT_FOUND));
    EXPECT_EQ(Current(), RegistryState{});
}

} // namespace
} // namespace quillet::test
