#include "client/rectangle.h"

#include <gtest/gtest.h>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

TEST(RectangleTextTest, IsReadBackAsTheSameRectangle)
{
    for (const Rectangle& rectangle : {Rectangle{0, 0, 1, 1}, Rectangle{10, 20, 110, 2147483647}})
        EXPECT_EQ(ParseRectangle(RectangleText(rectangle)), rectangle);
}

TEST(RectangleTextTest, ShowsEveryRectangleThatAnUpdateMayHave)
{
    EXPECT_EQ(RectangleText({-1, -2147483647 - 1, 0, 2147483647}), "-1,-2147483648,0,2147483647");
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
