#include "client/pictures/rectangle.h"

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

TEST(AreaTest, RectanglesThatDoNotMeetHaveNothingInCommon)
{
    EXPECT_EQ(Intersection({0, 0, 10, 10}, {10, 0, 20, 10}), Rectangle{});
    EXPECT_EQ(Intersection({0, 0, 10, 10}, {5, 6, 20, 20}), (Rectangle{5, 6, 10, 10}));
}

TEST(AreaTest, EmptyRectanglesCountForNothingInAHull)
{
    EXPECT_EQ(Hull({3, 3, 3, 9}, {5, 6, 7, 8}), (Rectangle{5, 6, 7, 8}));
    EXPECT_EQ(Hull({1, 2, 3, 4}, {5, 0, 7, 3}), (Rectangle{1, 0, 7, 4}));
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
