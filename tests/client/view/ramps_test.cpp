#include "client/view/ramps.h"

#include <gtest/gtest.h>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

TEST(RampsTest, BeginAtZeroRiseAndEndAtOne)
{
    for (const Ramp& ramp : Ramps()) {
        EXPECT_EQ(ramp.points.front().position, 0) << ramp.name;
        EXPECT_EQ(ramp.points.back().position, 1) << ramp.name;
        for (std::size_t i = 1; i < ramp.points.size(); ++i)
            EXPECT_LT(ramp.points[i - 1].position, ramp.points[i].position) << ramp.name;
        EXPECT_EQ(FindRamp(ramp.name), static_cast<std::size_t>(&ramp - Ramps().data()));
    }
    EXPECT_EQ(FindRamp("no such"), std::nullopt);
}

TEST(RampsTest, TurnedRoundWhatWasFirstIsLast)
{
    const std::vector<ControlPoint> turned = PointsOf({"x", Ramps()[1].points}, true);
    EXPECT_EQ(turned.front().position, 0);
    EXPECT_EQ(turned.front().color, Ramps()[1].points.back().color);
    EXPECT_DOUBLE_EQ(turned[1].position, 1 - Ramps()[1].points[turned.size() - 2].position);
}

TEST(RampsTest, ScreensShowBlueInTheLowestByte)
{
    EXPECT_EQ(ScreenColor(0xFF332211), 0x00112233u);
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client::View
