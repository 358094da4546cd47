#include "client/view/geometry.h"

#include <gtest/gtest.h>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

TEST(AreaTest, ARegionHoldsBothOfItsCornersInAnyOrderAndStaysInTheImage)
{
    EXPECT_EQ(Between({7, 2}, {3, 5}, {10, 10}), (Rectangle{3, 2, 8, 6}));
    EXPECT_EQ(Between({-4, 8}, {2, 30}, {10, 10}), (Rectangle{0, 8, 3, 10}));
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client::View
