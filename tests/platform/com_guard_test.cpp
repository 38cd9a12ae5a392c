#include <gtest/gtest.h>

#include "platform/com_guard.h"

// Nothing a method's body throws gets past it: the caller is answered with an HRESULT.
TEST(GuardedCall, AnswersWhatTheBodyThrows)
{
    EXPECT_EQ(quillet::GuardedCall([]() -> HRESULT { throw std::bad_alloc(); }), E_OUTOFMEMORY);
    EXPECT_EQ(quillet::GuardedCall([]() -> HRESULT { throw 1; }), E_UNEXPECTED);
}
