// Where the sender is installed, as its App Paths "Path" value says.
#include <gtest/gtest.h>

#include <optional>

#include "support/registry.h"
#include "sender/sender_installation.h"

namespace quillet {
namespace {

// One separator goes where the terminator is, or for a value without one where its last
// character is unless that is a separator already; no room for it, no value, or a value that
// is not absolute (it would be looked up from the host's current folder): unknown.
TEST(SenderDirectory, IsThePathValueWithOneSeparatorAppended)
{
    test::ScopedRegistryValue value(HKEY_LOCAL_MACHINE, kSenderAppPathsKey, kSenderPathValue);
    const std::wstring full = L"C:\\" + std::wstring(256, L'q') + L"\\";
    // Not terminated: stored as binary, as the registry may add a string's missing terminator.
    const struct { std::optional<std::wstring> stored; bool terminated; std::wstring directory; } cases[] = {
        {L"C:\\Program Files\\Pelloc", true, L"C:\\Program Files\\Pelloc\\"},
        {L"A:\\Program Files\\Pelloc\\", true, L"A:\\Program Files\\Pelloc\\\\"},
        {L"C:\\" + std::wstring(255, L'p'), true, L"C:\\" + std::wstring(255, L'p') + L"\\"},
        {L"C:\\" + std::wstring(256, L'p'), true, L""},
        {L"z:\\", true, L"z:\\\\"},
        {L"\\\\server\\share", true, L"\\\\server\\share\\"},
        {L"\\\\s", true, L"\\\\s\\"}, // a one-letter server name
        {L"\\\\?\\C:\\Pelloc", true, L"\\\\?\\C:\\Pelloc\\"},
        // Not absolute: relative, or rooted on no drive letter or server.
        {L"", true, L""}, {L"Pelloc", true, L""}, {L"Program Files\\Pelloc", true, L""},
        {L"\\Pelloc", true, L""}, {L"\\\\", true, L""}, {L"\\\\\\server", true, L""},
        {L"C:", true, L""}, {L"C:Pelloc", true, L""}, {L"1:\\Pelloc", true, L""},
        {L"C:\\" + std::wstring(297, L'p'), true, L""},
        {std::nullopt, true, L""},
        {L"C:\\Pelloc", false, L"C:\\Pello\\"},
        {L"C:\\Pelloc\\", false, L"C:\\Pelloc\\"},
        {full, false, full}, // the whole buffer: nothing after it may be read
        {L"", false, L""},
    };
    for (const auto& c : cases) {
        if (!c.stored)
            value.Delete();
        else if (c.terminated)
            value.SetString(*c.stored);
        else
            value.SetRaw(REG_BINARY, c.stored->c_str(), static_cast<DWORD>(c.stored->size() * sizeof(wchar_t)));
        EXPECT_EQ(GetSenderDirectory(), c.directory) << testing::PrintToString(c.stored);
    }
    test::DeleteTree(HKEY_LOCAL_MACHINE, kSenderAppPathsKey);
    EXPECT_EQ(GetSenderDirectory(), L"") << "no key";
}

} // namespace
} // namespace quillet
