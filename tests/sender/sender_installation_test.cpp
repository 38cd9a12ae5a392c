// Where the sender is installed, as its App Paths "Path" value says.
#include <gtest/gtest.h>

#include "common/registry.h"
#include "sender/sender_installation.h"

namespace quillet {
namespace {

class SenderDirectoryTest : public ::testing::Test {
protected:
    // The text's bytes with no terminating zero. Stored as binary data: the registry functions
    // may supply the missing terminator of a string value, and the lookup ignores the type.
    void StoreUnterminated(const std::wstring& text)
    {
        m_value.SetRaw(REG_BINARY, text.c_str(), static_cast<DWORD>(text.size() * sizeof(wchar_t)));
    }

    test::ScopedRegistryValue m_value{HKEY_LOCAL_MACHINE, kSenderAppPathsKey, kSenderPathValue};
};

TEST_F(SenderDirectoryTest, AppendsOneSeparatorToAStoredFolder)
{
    m_value.SetString(L"C:\\Program Files\\Pelloc");
    EXPECT_EQ(GetSenderDirectory(), L"C:\\Program Files\\Pelloc\\");

    // The test looks at the terminator's place, so a stored separator is doubled.
    m_value.SetString(L"C:\\Program Files\\Pelloc\\");
    EXPECT_EQ(GetSenderDirectory(), L"C:\\Program Files\\Pelloc\\\\");

    m_value.SetString(std::wstring(258, L'p'));
    EXPECT_EQ(GetSenderDirectory(), std::wstring(258, L'p') + L"\\");
}

TEST_F(SenderDirectoryTest, ValueWithoutTerminatorHasItsLastCharacterTested)
{
    StoreUnterminated(L"C:\\Pelloc");
    EXPECT_EQ(GetSenderDirectory(), L"C:\\Pello\\");

    StoreUnterminated(L"C:\\Pelloc\\");
    EXPECT_EQ(GetSenderDirectory(), L"C:\\Pelloc\\");

    // Fills the whole buffer: nothing after it may be read.
    const std::wstring full = std::wstring(259, L'q') + L"\\";
    StoreUnterminated(full);
    EXPECT_EQ(GetSenderDirectory(), full);
}

TEST_F(SenderDirectoryTest, UnknownWhenMissingEmptyOrTooLong)
{
    m_value.Delete();
    EXPECT_EQ(GetSenderDirectory(), L"");

    test::DeleteTree(HKEY_LOCAL_MACHINE, kSenderAppPathsKey);
    EXPECT_EQ(GetSenderDirectory(), L"");

    StoreUnterminated(L""); // no bytes at all
    EXPECT_EQ(GetSenderDirectory(), L"");

    m_value.SetString(std::wstring(259, L'p')); // no room left for the separator
    EXPECT_EQ(GetSenderDirectory(), L"");

    m_value.SetString(L"C:\\" + std::wstring(297, L'p'));
    EXPECT_EQ(GetSenderDirectory(), L"");
}

} // namespace
} // namespace quillet
