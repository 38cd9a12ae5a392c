// DllRegisterServer / DllUnregisterServer of the real module, checked in the registry.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/environment.h"
#include "support/module_library.h"
#include "support/registry.h"

namespace quillet::test {
namespace {

const std::wstring kClsid = L"{F2196025-497B-4A61-AEA7-27325149132A}";
const std::wstring kLibid = L"{30DD7C9C-949D-45E9-B5D1-18A15B569313}";
const std::wstring kClassKey = L"CLSID\\" + kClsid;
const wchar_t* const kHandlerKeys[] = {
    L"*\\shellex\\ContextMenuHandlers\\FTKel",
    L"Directory\\shellex\\ContextMenuHandlers\\FTKel",
    L"Folder\\shellex\\ContextMenuHandlers\\FTKel",
    L"lnkfile\\shellex\\ContextMenuHandlers\\FTKel",
};

using Names = std::vector<std::wstring>;

std::wstring Value(const std::wstring& key, const std::wstring& name = L"")
{
    return ReadString(HKEY_CLASSES_ROOT, key, name).value_or(L"<missing>");
}

class Registration : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(module.loaded()) << "Quillet.dll not found beside the tests"; }
    void TearDown() override { module.UnregisterServer(); }

    void ExpectRegisteredFor(const std::wstring& modulePath)
    {
        EXPECT_EQ(Value(L"Quillet.FTKelMN.1"), L"FTKelMN Class");
        EXPECT_EQ(SubKeyNames(HKEY_CLASSES_ROOT, L"Quillet.FTKelMN.1"), Names{L"CLSID"});
        EXPECT_EQ(Value(L"Quillet.FTKelMN.1\\CLSID"), kClsid);
        EXPECT_EQ(Value(L"Quillet.FTKelMN"), L"FTKelMN Class");
        EXPECT_EQ(SubKeyNames(HKEY_CLASSES_ROOT, L"Quillet.FTKelMN"), (Names{L"CLSID", L"CurVer"}));
        EXPECT_EQ(Value(L"Quillet.FTKelMN\\CLSID"), kClsid);
        EXPECT_EQ(Value(L"Quillet.FTKelMN\\CurVer"), L"Quillet.FTKelMN.1");

        EXPECT_EQ(Value(kClassKey), L"FTKelMN Class");
        EXPECT_EQ(SubKeyNames(HKEY_CLASSES_ROOT, kClassKey),
                  (Names{L"InprocServer32", L"ProgID", L"Programmable", L"TypeLib", L"VersionIndependentProgID"}));
        EXPECT_EQ(ValueNames(HKEY_CLASSES_ROOT, kClassKey), Names{L""});
        EXPECT_EQ(Value(kClassKey + L"\\ProgID"), L"Quillet.FTKelMN.1");
        EXPECT_EQ(Value(kClassKey + L"\\VersionIndependentProgID"), L"Quillet.FTKelMN");
        EXPECT_TRUE(ValueNames(HKEY_CLASSES_ROOT, kClassKey + L"\\Programmable").empty());
        EXPECT_TRUE(SubKeyNames(HKEY_CLASSES_ROOT, kClassKey + L"\\Programmable").empty());
        EXPECT_EQ(Value(kClassKey + L"\\InprocServer32"), modulePath);
        EXPECT_EQ(Value(kClassKey + L"\\InprocServer32", L"ThreadingModel"), L"Apartment");
        EXPECT_EQ(ValueNames(HKEY_CLASSES_ROOT, kClassKey + L"\\InprocServer32"), (Names{L"", L"ThreadingModel"}));
        EXPECT_EQ(Value(kClassKey + L"\\TypeLib"), kLibid);

        for (const wchar_t* key : kHandlerKeys) {
            SCOPED_TRACE(testing::Message() << "handler key " << testing::PrintToString(std::wstring(key)));
            EXPECT_EQ(ValueNames(HKEY_CLASSES_ROOT, key), Names{L""});
            EXPECT_EQ(Value(key), kClsid);
            EXPECT_TRUE(SubKeyNames(HKEY_CLASSES_ROOT, key).empty());
        }
        EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, L"TypeLib\\" + kLibid + L"\\1.0\\0\\win64"));
    }

    void ExpectNothingRegistered()
    {
        EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, L"Quillet.FTKelMN.1"));
        EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, L"Quillet.FTKelMN"));
        EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, kClassKey));
        EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, L"CLSID"));
        for (const wchar_t* key : kHandlerKeys)
            EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, key));
        EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, L"TypeLib\\" + kLibid));
    }

    ModuleLibrary module{ModulePath()};
};

TEST_F(Registration, WritesExactlyTheClassTypeLibraryAndHandlerKeys)
{
    ASSERT_EQ(module.RegisterServer(), S_OK);
    ExpectRegisteredFor(ModulePath());
}

TEST_F(Registration, RegisteringAgainDropsSubkeysAddedByHand)
{
    ASSERT_EQ(module.RegisterServer(), S_OK);
    ASSERT_TRUE(WriteString(HKEY_CLASSES_ROOT, kClassKey + L"\\Stale", L"x", L"stale"));
    ASSERT_TRUE(WriteString(HKEY_CLASSES_ROOT, kClassKey + L"\\Programmable\\Inner", L"", L"stale"));
    ASSERT_TRUE(WriteString(HKEY_CLASSES_ROOT, kClassKey, L"Extra", L"stale"));

    ASSERT_EQ(module.RegisterServer(), S_OK);
    ExpectRegisteredFor(ModulePath());
}

TEST_F(Registration, UnregisteringRemovesEverythingButTheSharedClsidKey)
{
    ASSERT_EQ(module.RegisterServer(), S_OK);
    // A neighbour under the handler key's parent must survive.
    ScopedRegistryValue neighbour(HKEY_CLASSES_ROOT, L"*\\shellex\\ContextMenuHandlers\\Neighbour", L"");
    neighbour.SetString(L"{00000000-0000-0000-0000-000000000001}");

    EXPECT_EQ(module.UnregisterServer(), S_OK);
    ExpectNothingRegistered();
    EXPECT_EQ(Value(L"*\\shellex\\ContextMenuHandlers\\Neighbour"), L"{00000000-0000-0000-0000-000000000001}");
}

TEST_F(Registration, UnregisteringWhatWasNeverRegisteredKeepsTheClsidKey)
{
    module.UnregisterServer();
    module.UnregisterServer();
    ExpectNothingRegistered();
}

TEST(RegistrationPath, ModulePathWithASingleQuoteLandsIntact)
{
    const std::wstring folder = MakeTempFolder(L"it's");
    ASSERT_FALSE(folder.empty());
    const std::wstring copy = folder + L"\\Quillet.dll";
    ASSERT_TRUE(CopyFileW(ModulePath().c_str(), copy.c_str(), FALSE));
    {
        ModuleLibrary module(copy);
        ASSERT_TRUE(module.loaded());
        EXPECT_EQ(module.RegisterServer(), S_OK);
        wchar_t longPath[MAX_PATH] = {};
        GetLongPathNameW(copy.c_str(), longPath, MAX_PATH);
        const std::wstring written = Value(kClassKey + L"\\InprocServer32");
        EXPECT_NE(written.find(L"it's"), std::wstring::npos) << "quote doubled or lost";
        EXPECT_EQ(written.find(L"it''s"), std::wstring::npos);
        EXPECT_EQ(_wcsicmp(written.c_str(), copy.c_str()) == 0 || _wcsicmp(written.c_str(), longPath) == 0, true);
        EXPECT_EQ(module.UnregisterServer(), S_OK);
    }
    RemoveTree(folder);
}

} // namespace
} // namespace quillet::test
