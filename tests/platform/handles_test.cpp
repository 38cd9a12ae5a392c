#include <gtest/gtest.h>

#include "platform/handles.h"

namespace quillet {
namespace {

TEST(Handles, OwnersReleaseExactlyOnceAndHandOver)
{
    HBITMAP first = nullptr, second = nullptr;
    {
        UniqueBitmap bitmap(CreateBitmap(4, 4, 1, 32, nullptr));
        ASSERT_TRUE(bitmap);
        first = bitmap.get();
        UniqueBitmap moved(std::move(bitmap));
        EXPECT_FALSE(bitmap);
        EXPECT_EQ(moved.get(), first);
        moved.reset(CreateBitmap(2, 2, 1, 32, nullptr));
        second = moved.get();
        EXPECT_EQ(GetObjectType(first), 0u) << "reset frees the object it replaces";
        EXPECT_EQ(GetObjectType(second), static_cast<DWORD>(OBJ_BITMAP));
        UniqueBitmap again(moved.release());
        EXPECT_FALSE(moved);
    }
    EXPECT_EQ(GetObjectType(second), 0u);

    HKEY raw = nullptr;
    {
        UniqueRegKey key;
        ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, L"Software", 0, KEY_READ, key.put()), ERROR_SUCCESS);
        raw = key.get();
    }
    EXPECT_EQ(RegQueryValueExW(raw, nullptr, nullptr, nullptr, nullptr, nullptr), ERROR_INVALID_HANDLE)
        << "the key must be closed when its owner ends";

    SetLastError(ERROR_SUCCESS);
    UniqueFileHandle(nullptr).reset(); // owns nothing, so closes nothing and sets no error
    EXPECT_EQ(GetLastError(), DWORD(ERROR_SUCCESS));
}

TEST(Handles, SelectionScopeRestoresThePreviousObject)
{
    UniqueMemoryDc dc(CreateCompatibleDC(nullptr));
    UniqueBitmap bitmap(CreateBitmap(4, 4, 1, 32, nullptr));
    const HGDIOBJ original = GetCurrentObject(dc.get(), OBJ_BITMAP);
    {
        SelectionScope scope(dc.get(), bitmap.get());
        EXPECT_EQ(GetCurrentObject(dc.get(), OBJ_BITMAP), bitmap.get());
    }
    EXPECT_EQ(GetCurrentObject(dc.get(), OBJ_BITMAP), original);
}

} // namespace
} // namespace quillet
