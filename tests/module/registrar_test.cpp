// The registration-script runner, exercised on the real script and on hand-written ones.
// Everything is written under HKCU\Software\QuilletRegistrarTest: the scripts are wrapped in
// "HKCU { NoRemove Software { NoRemove QuilletRegistrarTest { ... } } }", so the script's own
// keys land in that scratch key and the keys around it can never be removed.
#include <gtest/gtest.h>

#include <windows.h>

#include <cstring>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "module/registrar.h"
#include "module/registrar_script.h"
#include "platform/handles.h"
#include "resources/resource_ids.h"
#include "support/registry.h"

namespace quillet {
namespace {

using namespace std::string_literals;

constexpr wchar_t kScratch[] = L"Software\\QuilletRegistrarTest";
constexpr wchar_t kClsid[] = L"{F2196025-497B-4A61-AEA7-27325149132A}";
constexpr wchar_t kLibid[] = L"{30DD7C9C-949D-45E9-B5D1-18A15B569313}";
constexpr wchar_t kModulePath[] = L"C:\\Program Files\\Pelloc\\Quillet.dll";

const HRESULT kAccessDenied = HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED);

std::wstring Scratch(const std::wstring& path = {})
{
    return path.empty() ? std::wstring(kScratch) : std::wstring(kScratch) + L"\\" + path;
}

// --- registry snapshots -------------------------------------------------------------------

struct RegData {
    DWORD type = REG_NONE;
    std::vector<BYTE> bytes;
    friend bool operator==(const RegData&, const RegData&) = default;
};

void PrintTo(const RegData& data, std::ostream* out)
{
    *out << "type " << data.type << " ";
    if ((data.type == REG_SZ || data.type == REG_EXPAND_SZ || data.type == REG_MULTI_SZ) &&
        data.bytes.size() % 2 == 0) {
        *out << "\"";
        for (size_t i = 0; i < data.bytes.size(); i += 2) {
            const wchar_t c = static_cast<wchar_t>(data.bytes[i] | (data.bytes[i + 1] << 8));
            if (c == 0)
                *out << "\\0";
            else if (c < 0x80)
                *out << static_cast<char>(c);
            else
                *out << "\\u" << std::hex << static_cast<unsigned>(c) << std::dec;
        }
        *out << "\"";
    } else {
        *out << testing::PrintToString(data.bytes);
    }
}

RegData Sz(const std::wstring& text, DWORD type = REG_SZ)
{
    RegData data{type, std::vector<BYTE>((text.size() + 1) * sizeof(wchar_t))};
    std::memcpy(data.bytes.data(), text.c_str(), data.bytes.size());
    return data;
}

RegData Dword(DWORD value)
{
    RegData data{REG_DWORD, std::vector<BYTE>(sizeof(value))};
    std::memcpy(data.bytes.data(), &value, sizeof(value));
    return data;
}

// Every key under a root, by path relative to it ("" for the root itself), with its values
// ("" for the default value). Empty when the root key does not exist.
using Snapshot = std::map<std::wstring, std::map<std::wstring, RegData>>;

void Walk(HKEY key, const std::wstring& path, Snapshot& out)
{
    auto& values = out[path];
    for (DWORD index = 0;; ++index) {
        wchar_t name[16384];
        DWORD nameLength = 16384;
        DWORD type = 0, size = 0;
        if (RegEnumValueW(key, index, name, &nameLength, nullptr, &type, nullptr, &size) != ERROR_SUCCESS)
            break;
        RegData data{type, std::vector<BYTE>(size)};
        nameLength = 16384;
        if (RegEnumValueW(key, index, name, &nameLength, nullptr, &type, data.bytes.data(), &size) !=
            ERROR_SUCCESS)
            break;
        data.bytes.resize(size);
        values.emplace(std::wstring(name, nameLength), std::move(data));
    }
    for (const std::wstring& name : test::SubKeyNames(key, L"")) {
        UniqueRegKey subkey;
        if (RegOpenKeyExW(key, name.c_str(), 0, KEY_READ, subkey.put()) == ERROR_SUCCESS)
            Walk(subkey.get(), path.empty() ? name : path + L"\\" + name, out);
        else
            out[(path.empty() ? name : path + L"\\" + name) + L" (unreadable)"];
    }
}

Snapshot TakeSnapshot(const std::wstring& subKey = kScratch)
{
    Snapshot snapshot;
    UniqueRegKey key;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, subKey.c_str(), 0, KEY_READ, key.put()) == ERROR_SUCCESS)
        Walk(key.get(), L"", snapshot);
    return snapshot;
}

void CreateKey(const std::wstring& subKey)
{
    UniqueRegKey key;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, subKey.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, key.put(),
                              nullptr),
              ERROR_SUCCESS);
}

void SetString(const std::wstring& subKey, const wchar_t* name, const std::wstring& text)
{
    UniqueRegKey key;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, subKey.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, key.put(),
                              nullptr),
              ERROR_SUCCESS);
    ASSERT_EQ(RegSetValueExW(key.get(), name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                             static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))),
              ERROR_SUCCESS);
}

// --- scripts -------------------------------------------------------------------------------

// The module's own script, from the resource this test program carries, as the module reads it.
std::wstring LoadRealScript()
{
    const HMODULE self = GetModuleHandleW(nullptr);
    const HRSRC info = FindResourceW(self, MAKEINTRESOURCEW(IDR_REGISTRATION_SCRIPT), L"REGISTRY");
    if (!info)
        return {};
    const HGLOBAL data = LoadResource(self, info);
    const DWORD size = SizeofResource(self, info);
    const char* text = data ? static_cast<const char*>(LockResource(data)) : nullptr;
    if (!text || size == 0)
        return {};
    const int length = MultiByteToWideChar(CP_ACP, 0, text, static_cast<int>(size), nullptr, 0);
    std::wstring script(static_cast<size_t>(length), L'\0');
    MultiByteToWideChar(CP_ACP, 0, text, static_cast<int>(size), script.data(), length);
    return script;
}

const std::wstring kWrapHead = L"HKCU\r\n{\r\n\tNoRemove Software\r\n\t{\r\n\t\tNoRemove QuilletRegistrarTest";
const std::wstring kWrapTail = L"\r\n\t}\r\n}\r\n";

// The real script with its root "HKCR" exchanged for the scratch key: its block becomes the
// scratch key's body.
std::wstring RealScriptInScratch()
{
    const std::wstring real = LoadRealScript();
    const size_t start = real.find_first_not_of(L" \t\r\n");
    if (start == std::wstring::npos || real.compare(start, 4, L"HKCR") != 0)
        return {};
    return kWrapHead + real.substr(start + 4) + kWrapTail;
}

// A hand-written body placed in the scratch key.
std::wstring InScratch(const std::wstring& body)
{
    return kWrapHead + L"\r\n\t\t{\r\n" + body + L"\r\n\t\t}" + kWrapTail;
}

std::wstring DoubleQuotes(const std::wstring& text)
{
    std::wstring result;
    for (wchar_t c : text) {
        result += c;
        if (c == L'\'')
            result += L'\'';
    }
    return result;
}

std::vector<RegistrarReplacement> ModuleReplacements(const std::wstring& path = kModulePath)
{
    return {{L"Module", DoubleQuotes(path)}, {L"Module_Raw", path}};
}

HRESULT RunScript(const std::wstring& script, bool registerMode,
            const std::vector<RegistrarReplacement>& replacements = ModuleReplacements())
{
    return RunRegistrarScript(script, replacements, registerMode);
}

// What the real script writes, key by key, relative to the key that stands in for HKCR.
Snapshot RealScriptTable(const std::wstring& modulePath = kModulePath)
{
    const std::wstring classKey = L"CLSID\\"s + kClsid;
    return {
        {L"", {}},
        {L"Quillet.FTKelMN.1", {{L"", Sz(L"FTKelMN Class")}}},
        {L"Quillet.FTKelMN.1\\CLSID", {{L"", Sz(kClsid)}}},
        {L"Quillet.FTKelMN", {{L"", Sz(L"FTKelMN Class")}}},
        {L"Quillet.FTKelMN\\CLSID", {{L"", Sz(kClsid)}}},
        {L"Quillet.FTKelMN\\CurVer", {{L"", Sz(L"Quillet.FTKelMN.1")}}},
        {L"CLSID", {}},
        {classKey, {{L"", Sz(L"FTKelMN Class")}}},
        {classKey + L"\\ProgID", {{L"", Sz(L"Quillet.FTKelMN.1")}}},
        {classKey + L"\\VersionIndependentProgID", {{L"", Sz(L"Quillet.FTKelMN")}}},
        {classKey + L"\\Programmable", {}},
        {classKey + L"\\InprocServer32", {{L"", Sz(modulePath)}, {L"ThreadingModel", Sz(L"Apartment")}}},
        {classKey + L"\\TypeLib", {{L"", Sz(kLibid)}}},
    };
}

class Registrar : public testing::Test {
protected:
    void SetUp() override
    {
        test::DeleteTree(HKEY_CURRENT_USER, kScratch);
        m_softwareKeys = test::SubKeyNames(HKEY_CURRENT_USER, L"Software");
        m_rootKeys = test::SubKeyNames(HKEY_CURRENT_USER, L"");
    }
    void TearDown() override
    {
        m_cleanup.reset();
        // Whatever a test did, nothing may have reached past the scratch key.
        EXPECT_EQ(test::SubKeyNames(HKEY_CURRENT_USER, L"Software"), m_softwareKeys);
        EXPECT_EQ(test::SubKeyNames(HKEY_CURRENT_USER, L""), m_rootKeys);
    }

    std::optional<test::ScopedKeyRemoval> m_cleanup{std::in_place, HKEY_CURRENT_USER, kScratch};
    std::vector<std::wstring> m_softwareKeys;
    std::vector<std::wstring> m_rootKeys;
};

// === The real script =========================================================================

using RegistrarRealScript = Registrar;

TEST_F(RegistrarRealScript, ParsesIntoTheTableUnderHkcr)
{
    const std::wstring real = LoadRealScript();
    ASSERT_FALSE(real.empty()) << "REGISTRY 101 missing from the test program";
    RegistrarScript script;
    RegistrarParseError error;
    ASSERT_EQ(ParseRegistrarScript(real, ModuleReplacements(), script, &error), S_OK)
        << "at " << error.offset << ": " << testing::PrintToString(error.reason);
    ASSERT_EQ(script.blocks.size(), 1u);
    EXPECT_EQ(script.blocks[0].root, HKEY_CLASSES_ROOT);
    const RegistrarKey& body = script.blocks[0].body;
    ASSERT_EQ(body.subkeys.size(), 3u);
    EXPECT_EQ(body.subkeys[0].name, L"Quillet.FTKelMN.1");
    EXPECT_EQ(body.subkeys[1].name, L"Quillet.FTKelMN");
    const RegistrarKey& clsid = body.subkeys[2];
    EXPECT_EQ(clsid.name, L"CLSID");
    EXPECT_EQ(clsid.flag, RegistrarKeyFlag::NoRemove);
    EXPECT_FALSE(clsid.hasDefault);
    ASSERT_EQ(clsid.subkeys.size(), 1u);
    const RegistrarKey& classKey = clsid.subkeys[0];
    EXPECT_EQ(classKey.name, kClsid);
    EXPECT_EQ(classKey.flag, RegistrarKeyFlag::ForceRemove);
    ASSERT_EQ(classKey.subkeys.size(), 5u);
    EXPECT_EQ(classKey.subkeys[2].name, L"Programmable");
    EXPECT_EQ(classKey.subkeys[2].flag, RegistrarKeyFlag::ForceRemove);
    EXPECT_FALSE(classKey.subkeys[2].hasDefault);
    EXPECT_EQ(classKey.subkeys[3].name, L"InprocServer32");
    EXPECT_EQ(classKey.subkeys[3].flag, RegistrarKeyFlag::None);
}

TEST_F(RegistrarRealScript, RegistersExactlyTheTable)
{
    const std::wstring script = RealScriptInScratch();
    ASSERT_FALSE(script.empty());
    ASSERT_EQ(RunScript(script, true), S_OK);
    EXPECT_EQ(TakeSnapshot(), RealScriptTable());
}

TEST_F(RegistrarRealScript, RegisteringTwiceRemovesWhatWasAddedUnderForceRemoveKeys)
{
    const std::wstring script = RealScriptInScratch();
    ASSERT_EQ(RunScript(script, true), S_OK);
    const std::wstring classKey = L"CLSID\\"s + kClsid;
    CreateKey(Scratch(classKey + L"\\Stale\\Deeper"));
    SetString(Scratch(classKey), L"StaleValue", L"old");
    CreateKey(Scratch(classKey + L"\\Programmable\\Stale"));
    ASSERT_NE(TakeSnapshot(), RealScriptTable());

    ASSERT_EQ(RunScript(script, true), S_OK);
    EXPECT_EQ(TakeSnapshot(), RealScriptTable());
}

TEST_F(RegistrarRealScript, KeysWithoutForceRemoveKeepWhatOthersAdded)
{
    const std::wstring script = RealScriptInScratch();
    ASSERT_EQ(RunScript(script, true), S_OK);
    SetString(Scratch(L"Quillet.FTKelMN\\Extra"), nullptr, L"theirs");

    ASSERT_EQ(RunScript(script, true), S_OK);
    Snapshot expected = RealScriptTable();
    expected[L"Quillet.FTKelMN\\Extra"] = {{L"", Sz(L"theirs")}};
    EXPECT_EQ(TakeSnapshot(), expected);
}

TEST_F(RegistrarRealScript, UnregisterKeepsNoRemoveKeysAndRemovesTheRest)
{
    const std::wstring script = RealScriptInScratch();
    ASSERT_EQ(RunScript(script, true), S_OK);
    // Another class registered beside ours must survive our unregistration.
    SetString(Scratch(L"CLSID\\{00000000-1111-2222-3333-444444444444}"), nullptr, L"Other Class");

    EXPECT_EQ(RunScript(script, false), S_OK);
    const Snapshot expected = {
        {L"", {}},
        {L"CLSID", {}},
        {L"CLSID\\{00000000-1111-2222-3333-444444444444}", {{L"", Sz(L"Other Class")}}},
    };
    EXPECT_EQ(TakeSnapshot(), expected);
}

TEST_F(RegistrarRealScript, UnregisterWithNothingRegisteredSucceedsAndCreatesNothing)
{
    EXPECT_EQ(RunScript(RealScriptInScratch(), false), S_OK);
    EXPECT_FALSE(test::KeyExists(HKEY_CURRENT_USER, kScratch));
    CreateKey(kScratch);
    EXPECT_EQ(RunScript(RealScriptInScratch(), false), S_OK);
    EXPECT_EQ(TakeSnapshot(), (Snapshot{{L"", {}}}));
}

TEST_F(RegistrarRealScript, ModulePathWithAQuoteLandsWithOneQuote)
{
    const std::wstring path = L"C:\\Users\\O'Brien\\Quillet 'x''.dll";
    ASSERT_EQ(RunScript(RealScriptInScratch(), true, ModuleReplacements(path)), S_OK);
    EXPECT_EQ(TakeSnapshot(), RealScriptTable(path));
}

TEST_F(RegistrarRealScript, ModulePathWithAnUndoubledQuoteIsRefusedAndWritesNothing)
{
    const std::vector<RegistrarReplacement> raw = {{L"Module", L"C:\\O'Brien\\Quillet.dll"}};
    EXPECT_EQ(RunScript(RealScriptInScratch(), true, raw), kMalformedRegistrarScript);
    EXPECT_FALSE(test::KeyExists(HKEY_CURRENT_USER, kScratch));
}

TEST_F(RegistrarRealScript, WithoutTheModuleReplacementNothingIsWritten)
{
    EXPECT_EQ(RunScript(RealScriptInScratch(), true, {{L"Module_Raw", kModulePath}}), kMalformedRegistrarScript);
    EXPECT_FALSE(test::KeyExists(HKEY_CURRENT_USER, kScratch));
}

// === The language ============================================================================

using RegistrarSyntax = Registrar;

TEST_F(RegistrarSyntax, ValueTypes)
{
    const std::wstring script = InScratch(
        L"Types\r\n{\r\n"
        L"  val Text = s 'plain'\r\n"
        L"  val Expand = e '%%SystemRoot%%\\x'\r\n"
        L"  val Decimal = d '4294967295'\r\n"
        L"  val Hex = d '0xBEEF'\r\n"
        L"  val Zero = d '0'\r\n"
        L"  val Binary = b '00ff7A'\r\n"
        L"  val NoBytes = b ''\r\n"
        L"  val Multi = m 'one\\0two\\0three'\r\n"
        L"  val NoItems = m ''\r\n"
        L"  val Empty = s ''\r\n"
        L"}");
    ASSERT_EQ(RunScript(script, true), S_OK);
    const Snapshot snapshot = TakeSnapshot(Scratch(L"Types"));
    ASSERT_EQ(snapshot.size(), 1u);
    const auto& values = snapshot.at(L"");
    EXPECT_EQ(values.at(L"Text"), Sz(L"plain"));
    EXPECT_EQ(values.at(L"Expand"), Sz(L"%SystemRoot%\\x", REG_EXPAND_SZ));
    EXPECT_EQ(values.at(L"Decimal"), Dword(0xFFFFFFFFu));
    EXPECT_EQ(values.at(L"Hex"), Dword(0xBEEF));
    EXPECT_EQ(values.at(L"Zero"), Dword(0));
    EXPECT_EQ(values.at(L"Binary"), (RegData{REG_BINARY, {0x00, 0xFF, 0x7A}}));
    EXPECT_EQ(values.at(L"NoBytes"), (RegData{REG_BINARY, {}}));
    EXPECT_EQ(values.at(L"Multi"), Sz(L"one\0two\0three\0"s, REG_MULTI_SZ));
    EXPECT_EQ(values.at(L"NoItems"), Sz(L"", REG_MULTI_SZ));
    EXPECT_EQ(values.at(L"Empty"), Sz(L""));
    EXPECT_EQ(values.size(), 10u);
}

TEST_F(RegistrarSyntax, QuotedNamesAndDoubledQuotes)
{
    const std::wstring script = InScratch(
        L"'Name with spaces' = s 'a ''quoted'' word'\r\n"
        L"{\r\n"
        L"  val 'Value name' = s ''''\r\n"
        L"  'It''s' { }\r\n"
        L"  'Delete' = s 'a key, not the keyword'\r\n"
        L"  'val' = s 'a key too'\r\n"
        L"}");
    ASSERT_EQ(RunScript(script, true), S_OK);
    const Snapshot expected = {
        {L"", {}},
        {L"Name with spaces", {{L"", Sz(L"a 'quoted' word")}, {L"Value name", Sz(L"'")}}},
        {L"Name with spaces\\It's", {}},
        {L"Name with spaces\\Delete", {{L"", Sz(L"a key, not the keyword")}}},
        {L"Name with spaces\\val", {{L"", Sz(L"a key too")}}},
    };
    EXPECT_EQ(TakeSnapshot(), expected);
    EXPECT_EQ(RunScript(script, false), S_OK);
    EXPECT_EQ(TakeSnapshot(), (Snapshot{{L"", {}}}));
}

// Names match without regard to case; %% is one percent sign; a value between quotes is given
// with its quotes doubled, a bare word takes the replacement as it is.
TEST_F(RegistrarSyntax, ReplacementsMatchIgnoringCaseAndLandAfterQuotesAreUndone)
{
    const std::vector<RegistrarReplacement> replacements = {
        {L"Module", L"C:\\it''s.dll"}, {L"Module_Raw", L"C:\\it's.dll"}, {L"KeyName", L"From %Replacement%"}};
    const std::wstring script = InScratch(
        L"Percent = s '100%% sure, %MODULE%'\r\n"
        L"{\r\n"
        L"  val %keyname% = s '%Module%'\r\n"
        L"  'Key %KEYNAME%' { }\r\n"
        L"  Bare%%Name { }\r\n"
        L"  Raw = s 'x'\r\n"
        L"  {\r\n"
        L"    val %MODULE_RAW% = s 'a bare-word replacement is taken as it is'\r\n"
        L"  }\r\n"
        L"}");
    ASSERT_EQ(RunScript(script, true, replacements), S_OK);
    const Snapshot expected = {
        {L"", {}},
        {L"Percent", {{L"", Sz(L"100% sure, C:\\it's.dll")}, {L"From %Replacement%", Sz(L"C:\\it's.dll")}}},
        {L"Percent\\Key From %Replacement%", {}},
        {L"Percent\\Bare%Name", {}},
        {L"Percent\\Raw", {{L"", Sz(L"x")}, {L"C:\\it's.dll", Sz(L"a bare-word replacement is taken as it is")}}},
    };
    EXPECT_EQ(TakeSnapshot(), expected);
}

TEST_F(RegistrarSyntax, UndoubledQuoteFromAReplacementBetweenQuotesIsRefused)
{
    const std::vector<RegistrarReplacement> replacements = {{L"Module_Raw", L"C:\\it's.dll"}};
    EXPECT_EQ(RunScript(InScratch(L"Key = s '%Module_Raw%'"), true, replacements), kMalformedRegistrarScript);
    EXPECT_EQ(TakeSnapshot(), Snapshot{});
}

TEST_F(RegistrarSyntax, ReplacementsNeverMakeStructure)
{
    // A replacement that looks like a brace or a keyword is only ever a name.
    const std::vector<RegistrarReplacement> replacements = {{L"Open", L"{"}, {L"Flag", L"ForceRemove"}};
    ASSERT_EQ(RunScript(InScratch(L"%Open% = s 'x' %Flag% = s 'y'"), true, replacements), S_OK);
    const Snapshot expected = {
        {L"", {}},
        {L"{", {{L"", Sz(L"x")}}},
        {L"ForceRemove", {{L"", Sz(L"y")}}},
    };
    EXPECT_EQ(TakeSnapshot(), expected);
}

TEST_F(RegistrarSyntax, KeywordsRootsAndTypesIgnoreCaseAndAnyBlanksSeparateTokens)
{
    const std::wstring script =
        L"hkey_current_user {\tnoremove Software\n{\rNOREMOVE QuilletRegistrarTest {"
        L"\r\n\r\n\t\tFORCEREMOVE One = S 'a' { VAL x = D '7' }\vTwo\f=\ts\t'b'\r\n"
        L"} } }"s +
        L'\0'; // resource padding after the text is harmless
    ASSERT_EQ(RunScript(script, true), S_OK);
    const Snapshot expected = {
        {L"", {}},
        {L"One", {{L"", Sz(L"a")}, {L"x", Dword(7)}}},
        {L"Two", {{L"", Sz(L"b")}}},
    };
    EXPECT_EQ(TakeSnapshot(), expected);
}

TEST_F(RegistrarSyntax, SeveralRootBlocksRunInOrder)
{
    const std::wstring script = InScratch(L"First = s '1'") + L"\r\nHKEY_CURRENT_USER\r\n{ NoRemove Software "
                                                              L"{ NoRemove QuilletRegistrarTest { Second = s '2' } } }";
    ASSERT_EQ(RunScript(script, true), S_OK);
    const Snapshot expected = {
        {L"", {}},
        {L"First", {{L"", Sz(L"1")}}},
        {L"Second", {{L"", Sz(L"2")}}},
    };
    EXPECT_EQ(TakeSnapshot(), expected);
    EXPECT_EQ(RunScript(script, false), S_OK);
    EXPECT_EQ(TakeSnapshot(), (Snapshot{{L"", {}}}));
}

TEST_F(RegistrarSyntax, DeleteRemovesAKeyWhenRegistering)
{
    SetString(Scratch(L"Old\\Deeper"), L"v", L"old");
    ASSERT_EQ(RunScript(InScratch(L"Delete Old\r\nDelete NeverWasThere\r\nNew = s 'n'"), true), S_OK);
    const Snapshot expected = {
        {L"", {}},
        {L"New", {{L"", Sz(L"n")}}},
    };
    EXPECT_EQ(TakeSnapshot(), expected);
}

TEST_F(RegistrarSyntax, UnregisterRemovesOnlyTheNamedValuesOfANoRemoveKey)
{
    SetString(Scratch(L"Shared"), nullptr, L"theirs");
    SetString(Scratch(L"Shared"), L"Theirs", L"theirs");
    const std::wstring script = InScratch(L"NoRemove Shared = s 'ours'\r\n{\r\n  val Mine = s 'ours'\r\n  Sub\r\n}");
    ASSERT_EQ(RunScript(script, true), S_OK);
    EXPECT_EQ(TakeSnapshot(), (Snapshot{
                                  {L"", {}},
                                  {L"Shared", {{L"", Sz(L"ours")}, {L"Theirs", Sz(L"theirs")}, {L"Mine", Sz(L"ours")}}},
                                  {L"Shared\\Sub", {}},
                              }));
    EXPECT_EQ(RunScript(script, false), S_OK);
    // The default value of a shared key may be someone else's, so it stays.
    EXPECT_EQ(TakeSnapshot(), (Snapshot{
                                  {L"", {}},
                                  {L"Shared", {{L"", Sz(L"ours")}, {L"Theirs", Sz(L"theirs")}}},
                              }));
}

TEST_F(RegistrarSyntax, UnregisterDeletesWholeSubtreesOfOrdinaryKeys)
{
    const std::wstring script = InScratch(L"Ours { Child { } }");
    ASSERT_EQ(RunScript(script, true), S_OK);
    SetString(Scratch(L"Ours\\Child\\AddedLater\\Deeper"), L"v", L"x");
    EXPECT_EQ(RunScript(script, false), S_OK);
    EXPECT_EQ(TakeSnapshot(), (Snapshot{{L"", {}}}));
}

TEST_F(RegistrarSyntax, EmptyBlocksAreAllowed)
{
    EXPECT_EQ(RunScript(L"HKCU { }", true), S_OK);
    EXPECT_EQ(RunScript(L"HKCU { }", false), S_OK);
    EXPECT_EQ(RunScript(InScratch(L""), true), S_OK);
    EXPECT_EQ(TakeSnapshot(), (Snapshot{{L"", {}}}));
}

std::wstring Nested(int levels)
{
    std::wstring script = L"HKCU {";
    for (int i = 1; i < levels; ++i)
        script += L" K {";
    for (int i = 0; i < levels; ++i)
        script += L" }";
    return script;
}

// `levels` keys, each inside the one before: " K { K { ... } }".
std::wstring NestedKeys(int levels)
{
    std::wstring body;
    for (int i = 0; i < levels; ++i)
        body += L" K {";
    for (int i = 0; i < levels; ++i)
        body += L" }";
    return body;
}

TEST_F(RegistrarSyntax, NestingIsBoundedAtSixtyFourLevels)
{
    RegistrarScript parsed;
    EXPECT_EQ(ParseRegistrarScript(Nested(kMaxRegistrarNesting), {}, parsed), S_OK);
    EXPECT_EQ(ParseRegistrarScript(Nested(kMaxRegistrarNesting + 1), {}, parsed), kMalformedRegistrarScript);
    // Hostile depth is refused long before the stack notices.
    EXPECT_EQ(ParseRegistrarScript(Nested(200000), {}, parsed), kMalformedRegistrarScript);

    // The deepest script the registrar takes also registers and unregisters: the root,
    // Software and the scratch key are the first three levels.
    const std::wstring deep = NestedKeys(kMaxRegistrarNesting - 3);
    RegistrarParseError error;
    EXPECT_EQ(ParseRegistrarScript(InScratch(NestedKeys(kMaxRegistrarNesting - 2)), {}, parsed, &error),
              kMalformedRegistrarScript);
    EXPECT_EQ(error.reason, L"keys nested too deeply");
    ASSERT_EQ(RunScript(InScratch(deep), true), S_OK);
    std::wstring path = L"K";
    for (int i = 4; i < kMaxRegistrarNesting; ++i)
        path += L"\\K";
    EXPECT_TRUE(test::KeyExists(HKEY_CURRENT_USER, Scratch(path)));
    EXPECT_EQ(RunScript(InScratch(deep), false), S_OK);
    EXPECT_EQ(TakeSnapshot(), (Snapshot{{L"", {}}}));
}

// === Roll-back ===============================================================================

using RegistrarRollback = Registrar;

TEST_F(RegistrarRollback, AKeyNameTooLongForTheRegistryUndoesTheEarlierKeys)
{
    SetString(Scratch(L"Existing"), L"Theirs", L"theirs");
    const Snapshot before = TakeSnapshot();
    const std::wstring tooLong(300, L'x');
    const std::wstring script = InScratch(L"First = s 'a' { Child = s 'b' }\r\n"
                                          L"NoRemove Existing { val Mine = s 'c' Inner { } }\r\n"
                                          L"Second = s 'x' { " +
                                          tooLong + L" = s 'z' }\r\nNever = s 'never'");
    const HRESULT hr = RunScript(script, true);
    EXPECT_TRUE(FAILED(hr)) << std::hex << hr;
    EXPECT_NE(hr, kMalformedRegistrarScript) << "the script itself is fine; the registry refused the key";
    EXPECT_EQ(TakeSnapshot(), before);
}

// Grants everyone only reading and deleting on a key: creating under it is then denied.
class ReadOnlyKey {
public:
    explicit ReadOnlyKey(const std::wstring& subKey)
    {
        UniqueRegKey key;
        if (RegCreateKeyExW(HKEY_CURRENT_USER, subKey.c_str(), 0, nullptr, 0, KEY_READ | WRITE_DAC, nullptr,
                            key.put(), nullptr) != ERROR_SUCCESS)
            return;
        SID_IDENTIFIER_AUTHORITY world = SECURITY_WORLD_SID_AUTHORITY;
        PSID everyone = nullptr;
        if (!AllocateAndInitializeSid(&world, 1, SECURITY_WORLD_RID, 0, 0, 0, 0, 0, 0, 0, &everyone))
            return;
        alignas(ACL) BYTE aclBuffer[256];
        ACL* acl = reinterpret_cast<ACL*>(aclBuffer);
        SECURITY_DESCRIPTOR descriptor;
        m_applied = InitializeAcl(acl, sizeof(aclBuffer), ACL_REVISION) &&
                    AddAccessAllowedAce(acl, ACL_REVISION, KEY_READ | DELETE, everyone) &&
                    InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION) &&
                    SetSecurityDescriptorDacl(&descriptor, TRUE, acl, FALSE) &&
                    RegSetKeySecurity(key.get(), DACL_SECURITY_INFORMATION, &descriptor) == ERROR_SUCCESS;
        FreeSid(everyone);
    }
    bool applied() const { return m_applied; }

private:
    bool m_applied = false;
};

TEST_F(RegistrarRollback, AccessDeniedPartWayUndoesTheEarlierKeysAndReturnsTheError)
{
    ReadOnlyKey locked(Scratch(L"Locked"));
    ASSERT_TRUE(locked.applied());
    {
        // The registrar opens the key for writing, as any key it writes under.
        UniqueRegKey probe;
        if (RegOpenKeyExW(HKEY_CURRENT_USER, Scratch(L"Locked").c_str(), 0, KEY_READ | KEY_WRITE, probe.put()) ==
            ERROR_SUCCESS)
            GTEST_SKIP() << "this system does not enforce the key's access list";
    }
    const Snapshot before = TakeSnapshot();
    const std::wstring script = InScratch(L"First = s 'a' { Child = s 'b' }\r\n"
                                          L"NoRemove Locked { Mine = s 'c' }\r\n"
                                          L"Never = s 'never'");
    EXPECT_EQ(RunScript(script, true), kAccessDenied);
    EXPECT_EQ(TakeSnapshot(), before);
}

TEST_F(RegistrarRollback, OnlyTheFailingBlockIsUndone)
{
    const std::wstring tooLong(300, L'y');
    const std::wstring script = InScratch(L"Kept = s 'ok'") + L"\r\n" + InScratch(L"Gone = s 'a' " + tooLong);
    EXPECT_TRUE(FAILED(RunScript(script, true)));
    const Snapshot expected = {
        {L"", {}},
        {L"Kept", {{L"", Sz(L"ok")}}},
    };
    EXPECT_EQ(TakeSnapshot(), expected);
}

// === Malformed scripts =======================================================================

using RegistrarMalformed = Registrar;

struct MalformedCase {
    const char* what;
    std::wstring script;
};

std::vector<MalformedCase> MalformedScripts()
{
    // Each names the key "Victim" the way a valid script would, so a registrar that applied a
    // script before parsing all of it would be caught writing or deleting it.
    const std::wstring victim = L"Victim = s 'overwritten'\r\n";
    return {
        {"empty", L""},
        {"blanks only", L" \r\n\t "},
        {"NULs only", L"\0\0"s},
        {"unknown root", L"HKXX { Victim = s 'x' }"},
        {"quoted root", L"'HKCU' { Victim = s 'x' }"},
        {"root without block", L"HKCU"},
        {"root followed by a name", L"HKCU Software { }"},
        {"trailing root without block", InScratch(victim) + L"HKCU"},
        {"trailing garbage", InScratch(victim) + L"Garbage"},
        {"missing close", InScratch(victim + L"Other {")},
        {"extra close", InScratch(victim + L"}")},
        {"open where a name belongs", InScratch(victim + L"Other { { } }")},
        {"equals where a name belongs", InScratch(victim + L"= s 'x'")},
        {"missing value after equals", InScratch(victim + L"Other =")},
        {"type without data", InScratch(victim + L"Other = s")},
        {"data not quoted", InScratch(victim + L"Other = s bare")},
        {"unknown type letter", InScratch(victim + L"Other = x 'y'")},
        {"long type name", InScratch(victim + L"Other = sz 'y'")},
        {"quoted type", InScratch(victim + L"Other = 's' 'y'")},
        {"unterminated string", InScratch(victim + L"Other = s 'open")},
        {"unterminated string at the end", InScratch(victim) + L" '"},
        {"NUL in quoted text", InScratch(victim + L"Other = s 'a\0b'"s)},
        {"unknown replacement", InScratch(victim + L"Other = s '%NOPE%'")},
        {"unclosed percent", InScratch(victim + L"Other = s '50% off'")},
        {"unclosed percent in a name", InScratch(victim + L"Other% = s 'x'")},
        {"replacement in a type", InScratch(victim + L"Other = %Module% 'x'")},
        {"replacement in a root", L"%Module% { }"},
        {"d not a number", InScratch(victim + L"Other = d 'abc'")},
        {"d empty", InScratch(victim + L"Other = d ''")},
        {"d too big", InScratch(victim + L"Other = d '4294967296'")},
        {"d hex too big", InScratch(victim + L"Other = d '0x100000000'")},
        {"d hex without digits", InScratch(victim + L"Other = d '0x'")},
        {"d negative", InScratch(victim + L"Other = d '-1'")},
        {"d with blanks", InScratch(victim + L"Other = d ' 1'")},
        {"b odd digits", InScratch(victim + L"Other = b 'abc'")},
        {"b not hex", InScratch(victim + L"Other = b 'zz'")},
        {"m empty item", InScratch(victim + L"Other = m 'a\\0\\0b'")},
        {"m trailing separator", InScratch(victim + L"Other = m 'a\\0'")},
        {"val without equals", InScratch(victim + L"Other { val Name s 'x' }")},
        {"val without name", InScratch(victim + L"Other { val = s 'x' }")},
        {"val with empty name", InScratch(victim + L"Other { val '' = s 'x' }")},
        {"val without value", InScratch(victim + L"Other { val Name = }")},
        {"modifier without name", InScratch(victim + L"ForceRemove")},
        {"modifier before equals", InScratch(victim + L"ForceRemove = s 'x'")},
        {"two modifiers", InScratch(victim + L"ForceRemove NoRemove Other")},
        {"keyword as bare name", InScratch(victim + L"NoRemove val")},
        {"Delete with a value", InScratch(victim + L"Delete Other = s 'x'")},
        {"Delete with a block", InScratch(victim + L"Delete Other { }")},
        {"empty key name", InScratch(victim + L"'' = s 'x'")},
        {"backslash in a key name", InScratch(victim + L"Other\\Sub = s 'x'")},
        {"backslash in a quoted key name", InScratch(victim + L"'Other\\Sub' = s 'x'")},
        {"equals glued to the name", InScratch(victim + L"Other= s 'x'")},
        {"equals glued to the type", InScratch(victim + L"Other =s 'x'")},
        {"quote glued to the type", InScratch(victim + L"Other = s'x'")},
        {"brace glued to a string", InScratch(victim + L"Other = s 'x'}") + L"}"},
        {"too deep", InScratch(victim + NestedKeys(80))},
    };
}

TEST_F(RegistrarMalformed, EachFailsAndWritesNothing)
{
    SetString(Scratch(L"Victim"), nullptr, L"original");
    const Snapshot before = TakeSnapshot();
    for (const MalformedCase& c : MalformedScripts()) {
        SCOPED_TRACE(c.what);
        RegistrarScript parsed;
        RegistrarParseError error;
        EXPECT_EQ(ParseRegistrarScript(c.script, ModuleReplacements(), parsed, &error), kMalformedRegistrarScript);
        EXPECT_FALSE(error.reason.empty());
        EXPECT_LE(error.offset, c.script.size());
        EXPECT_EQ(RunScript(c.script, true), kMalformedRegistrarScript);
        EXPECT_EQ(TakeSnapshot(), before);
    }
}

TEST_F(RegistrarMalformed, EachFailsAndDeletesNothingWhenUnregistering)
{
    SetString(Scratch(L"Victim"), nullptr, L"original");
    SetString(Scratch(L"Other\\Sub"), nullptr, L"original");
    const Snapshot before = TakeSnapshot();
    for (const MalformedCase& c : MalformedScripts()) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(RunScript(c.script, false), kMalformedRegistrarScript);
        EXPECT_EQ(TakeSnapshot(), before);
    }
}

// === Fuzz-style ==============================================================================

using RegistrarFuzz = Registrar;

TEST_F(RegistrarFuzz, EveryTruncatedPrefixOfTheRealScriptIsRefused)
{
    const std::wstring real = LoadRealScript();
    ASSERT_FALSE(real.empty());
    const size_t lastBrace = real.find_last_of(L'}');
    for (size_t length = 0; length < real.size(); ++length) {
        RegistrarScript parsed;
        const HRESULT hr = ParseRegistrarScript(std::wstring_view(real).substr(0, length), ModuleReplacements(),
                                                parsed);
        if (length > lastBrace)
            EXPECT_EQ(hr, S_OK) << length;
        else
            EXPECT_EQ(hr, kMalformedRegistrarScript) << length;
    }
}

TEST_F(RegistrarFuzz, TruncatedPrefixesNeverWriteAnything)
{
    const std::wstring script = RealScriptInScratch();
    ASSERT_FALSE(script.empty());
    const size_t lastBrace = script.find_last_of(L'}');
    for (size_t length = 0; length <= lastBrace; ++length) {
        // A copy of exactly that length: nothing past it exists to be read.
        const std::wstring prefix = script.substr(0, length);
        ASSERT_EQ(RunScript(prefix, true), kMalformedRegistrarScript) << length;
        ASSERT_FALSE(test::KeyExists(HKEY_CURRENT_USER, kScratch)) << length;
    }
}

// Token soup through the parser alone (no registry): it must never crash or hang.
TEST_F(RegistrarFuzz, RandomTokenSoupNeverCrashesTheParser)
{
    const wchar_t* pieces[] = {L"HKCR", L"HKCU", L"{", L"}", L"=", L"s", L"d", L"b", L"m", L"e", L"val",
                               L"ForceRemove", L"NoRemove", L"Delete", L"'", L"''", L"'x'", L"%", L"%%",
                               L"%MODULE%", L"Key", L"'0x1F'", L" ", L"\r\n", L"\t", L"\\0", L"\0"};
    unsigned seed = 12345;
    auto next = [&seed] {
        seed = seed * 1103515245u + 12345u;
        return (seed >> 16) & 0x7FFF;
    };
    for (int round = 0; round < 5000; ++round) {
        std::wstring script;
        const unsigned count = next() % 40;
        for (unsigned i = 0; i < count; ++i) {
            const wchar_t* piece = pieces[next() % std::size(pieces)];
            script += *piece ? std::wstring(piece) : std::wstring(1, L'\0');
            if (next() % 2)
                script += L' ';
        }
        RegistrarScript parsed;
        RegistrarParseError error;
        const HRESULT hr = ParseRegistrarScript(script, ModuleReplacements(), parsed, &error);
        EXPECT_TRUE(hr == S_OK || hr == kMalformedRegistrarScript);
        if (FAILED(hr)) {
            EXPECT_LE(error.offset, script.size());
        }
    }
}

} // namespace
} // namespace quillet
