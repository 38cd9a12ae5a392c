// The registrar on scripts written for it, inside a scratch key of HKEY_CLASSES_ROOT.
#include <gtest/gtest.h>

#include <windows.h>

#include <array>
#include <string>
#include <vector>

#include "platform/handles.h"
#include "registration/registrar.h"
#include "support/import_patch.h"
#include "support/registry.h"

namespace quillet::test {
namespace {

using enum RegistrarMode;

constexpr wchar_t kScratch[] = L"QuilletRegistrarTest";

std::wstring InScratch(const std::wstring& body)
{
    return L"HKCR\r\n{\r\n\tNoRemove " + std::wstring(kScratch) + L"\r\n\t{\r\n" + body + L"\r\n\t}\r\n}\r\n";
}

// The scratch key and the given keys below it.
RegistryState Scratch(std::initializer_list<std::wstring> lines)
{
    RegistryState state{kScratch};
    for (const std::wstring& line : lines)
        state.insert(std::wstring(kScratch) + L"\\" + line);
    return state;
}

// {key below the scratch key, value name, data}
using Writes = std::vector<std::array<std::wstring, 3>>;

void Prepare(const Writes& writes)
{
    DeleteTree(HKEY_CLASSES_ROOT, kScratch);
    for (const auto& [key, name, data] : writes)
        ASSERT_TRUE(WriteString(HKEY_CLASSES_ROOT, std::wstring(kScratch) + L"\\" + key, name, data));
}

struct Registrar : testing::Test { void TearDown() override { DeleteTree(HKEY_CLASSES_ROOT, kScratch); } };

// A part-way failure is staged with a key name longer than the registry takes.
TEST_F(Registrar, RegistersAndUnregistersAsTheScriptSays)
{
    const std::wstring tooLong(300, L'x');
    UniqueRegKey unused;
    const LONG createRefused =
        RegCreateKeyExW(HKEY_CLASSES_ROOT, tooLong.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, unused.put(), nullptr);
    const LONG deleteRefused = RegDeleteTreeW(HKEY_CLASSES_ROOT, tooLong.c_str());
    ASSERT_NE(createRefused, ERROR_SUCCESS);
    ASSERT_NE(deleteRefused, ERROR_FILE_NOT_FOUND);
    const struct { const char* what; Writes before; RegistrarMode mode; std::wstring body; HRESULT result;
        RegistryState after; } cases[] = {
        {"nested keys and values; ForceRemove writes its key from scratch, other keys keep what others added",
         {{L"A\\Stale", L"", L"s"}, {L"A", L"Old", L"o"}, {L"B\\Theirs", L"", L"t"}, {L"B", L"Theirs", L"t"}},
         Register, L"ForceRemove A = s 'a' { val N = s 'n' C { D = s 'd' } } B = s 'b' E", S_OK,
         Scratch({L"A @='a' N='n'", L"A\\C", L"A\\C\\D @='d'", L"B @='b' Theirs='t'", L"B\\Theirs @='t'", L"E"})},
        {"doubled quotes and %MODULE% land as single quotes", {}, Register,
         L"A = s '%MODULE%' { val N = s '''%MODULE%'' ''' }", S_OK,
         Scratch({L"A @='C:\\O'Brien\\Quillet.dll' N=''C:\\O'Brien\\Quillet.dll' ''"})},
        {"a part-way failure is rolled back", {{L"Kept", L"Theirs", L"t"}}, Register,
         L"A = s 'a' { B } NoRemove Kept { val Mine = s 'm' Inner } ForceRemove C { " + tooLong + L" } Never",
         HRESULT_FROM_WIN32(createRefused), Scratch({L"Kept Theirs='t'"})},
        {"unregister deletes subtrees, carrying on past a failure; a NoRemove key keeps its default and others' values",
         {{L"A\\B\\Deeper", L"", L"x"}, {L"F", L"", L"f"}, {L"Shared", L"", L"theirs"}, {L"Shared", L"Mine", L"m"},
          {L"Shared", L"Theirs", L"t"}, {L"Shared\\Sub\\Deeper", L"", L"s"}, {L"Shared\\Other", L"", L"o"}},
         Unregister, L"A = s 'a' { B } " + tooLong + L" ForceRemove F NoRemove Shared = s 's' { val Mine = s 'm' Sub }",
         HRESULT_FROM_WIN32(deleteRefused), Scratch({L"Shared @='theirs' Theirs='t'", L"Shared\\Other @='o'"})},
        {"unregister with nothing there creates nothing", {}, Unregister, L"NoRemove A { val N = s 'n' B }", S_OK, {}},
    };
    const StrictRegistry strict;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Prepare(c.before);
        EXPECT_EQ(RunRegistrarScript(InScratch(c.body), L"C:\\O''Brien\\Quillet.dll", c.mode), c.result);
        EXPECT_EQ(ClassesState({kScratch}), c.after);
    }
}

// Each names Victim as a valid script would, so a registrar that acted before it had read the
// whole script would be caught writing or deleting it. The module's path here has its quote
// undoubled, which would end quoted text early in the script.
TEST_F(Registrar, AMalformedScriptFailsAndChangesNothing)
{
    const std::wstring victim = L"Victim = s 'new' { Sub } ";
    const std::wstring scratch = L"NoRemove " + std::wstring(kScratch) + L" { " + victim + L"} ";
    std::vector<std::wstring> scripts = {L"HKCU { " + scratch + L"}", L"HKCR " + scratch, L"HKCR { " + scratch,
                                         L"HKCR { val N = s 'x' " + scratch + L"}"};
    for (const wchar_t* body : {L"}", L"A { val = s 'x' }", L"A { val N s 'x' }", L"A { val N = }", L"NoRemove }",
                                L"ForceRemove { }", L"'A' = s 'x'", L"A\\B = s 'x'", L"A = e 'x'", L"A = s x",
                                L"A = s 'x", L"A = s 'x'}", L"A = s '100%'", L"A = s '%MODULE%'"})
        scripts.push_back(InScratch(victim + body));
    for (const RegistrarMode mode : {Register, Unregister}) {
        Prepare({{L"Victim", L"", L"old"}, {L"A", L"", L"old"}});
        const RegistryState before = ClassesState({kScratch});
        for (const std::wstring& script : scripts) {
            SCOPED_TRACE(testing::PrintToString(script));
            EXPECT_EQ(RunRegistrarScript(script, L"C:\\O'Brien.dll", mode), HRESULT_FROM_WIN32(ERROR_INVALID_DATA));
            EXPECT_EQ(ClassesState({kScratch}), before);
        }
    }
}

LONG WINAPI DeniedDelete(HKEY, LPCWSTR) { return ERROR_ACCESS_DENIED; }
LONG WINAPI DeniedOpen(HKEY, LPCWSTR, DWORD, REGSAM, PHKEY) { return ERROR_ACCESS_DENIED; }

// Keys whose permissions keep the registrar out, which Wine's registry cannot have.
TEST_F(Registrar, AKeyItMayNotDeleteOrOpenFailsIt)
{
    const ScopedImport deleting("advapi32.dll", "RegDeleteTreeW", &DeniedDelete);
    const ScopedImport opening("advapi32.dll", "RegOpenKeyExW", &DeniedOpen);
    for (const auto& [body, mode] :
         {std::pair{L"ForceRemove A", Register}, {L"NoRemove A { val N = s 'n' }", Unregister}})
        EXPECT_EQ(RunRegistrarScript(InScratch(body), L"C:\\Quillet.dll", mode), HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED));
}

} // namespace
} // namespace quillet::test
