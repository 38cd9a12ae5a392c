#include <gtest/gtest.h>

#include "platform/display_metrics.h"
#include "support/environment.h"

namespace quillet {
namespace {

// The runner sets LogPixels for the whole program; without it the prefix is at 96 DPI.
TEST(DisplayScale, MeasuredScaleFollowsTheDisplayDpi)
{
    const int dpi = test::RequestedDpi() ? test::RequestedDpi() : 96;
    DisplayScale scale{.secondDpi = 1234}; // never written by the measurement
    MeasureDisplayScale(scale, true);
    EXPECT_EQ(scale.dpi, static_cast<std::uint32_t>(dpi));
    EXPECT_EQ(scale.percent, dpi * 100 / 96);
    EXPECT_EQ(scale.scaled, dpi != 96);
    EXPECT_EQ(scale.secondDpi, 1234u);
}

TEST(DisplayScale, WithoutMeasuringItIsAlwaysUnscaled)
{
    DisplayScale scale{.percent = 7, .scaled = true};
    MeasureDisplayScale(scale, false);
    EXPECT_EQ(scale.dpi, 96u);
    EXPECT_EQ(scale.percent, 100);
    EXPECT_FALSE(scale.scaled);
}

} // namespace
} // namespace quillet
