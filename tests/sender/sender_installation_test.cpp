// Where the sender is installed, as its App Paths "Path" value says.
#include <gtest/gtest.h>

#include <optional>

#include "common/registry.h"
#include "sender/sender_installation.h"

namespace quillet {
namespace {

// One separator goes where the terminator is, or for a value without one where its last
// character is unless that is a separator already; no room for it or no value: unknown.
TEST(SenderDirectory, IsThePathValueWithOneSeparatorAppended)
{
    test::ScopedRegistryValue value(HKEY_LOCAL_MACHINE, kSenderAppPathsKey, kSenderPathValue);
    const std::wstring full = std::wstring(259, L'q') + L"\\";
    const struct {
        std::optional<std::wstring> stored;
        bool terminated; // else stored as binary: the registry may add a string's missing terminator
        std::wstring directory;
    } cases[] = {
        {L"C:\\Program Files\\Pelloc", true, L"C:\\Program Files\\Pelloc\\"},
        {L"C:\\Program Files\\Pelloc\\", true, L"C:\\Program Files\\Pelloc\\\\"},
        {std::wstring(258, L'p'), true, std::wstring(258, L'p') + L"\\"},
        {std::wstring(259, L'p'), true, L""},
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
