#include "client/view/area.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

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

TEST(AreaTest, ARegionHoldsBothOfItsCornersInAnyOrderAndStaysInTheImage)
{
    EXPECT_EQ(Between({7, 2}, {3, 5}, {10, 10}), (Rectangle{3, 2, 8, 6}));
    EXPECT_EQ(Between({-4, 8}, {2, 30}, {10, 10}), (Rectangle{0, 8, 3, 10}));
}

TEST(DirtyAreaTest, NeighboursBecomeOneRectangle)
{
    DirtyArea area;
    area.Add({0, 0, 10, 10});
    area.Add({10, 0, 20, 10});
    EXPECT_EQ(area.Take(), (std::vector<Rectangle>{{0, 0, 20, 10}}));
    EXPECT_TRUE(area.IsEmpty());
}

TEST(DirtyAreaTest, FarCornersStayApart)
{
    DirtyArea area;
    area.Add({0, 0, 10, 10});
    area.Add({1000, 1000, 1010, 1010});
    EXPECT_EQ(area.Take().size(), 2u);
}

TEST(DirtyAreaTest, AGrownRectangleTakesInWhatItHasReached)
{
    DirtyArea area;
    area.Add({0, 0, 10, 10});
    area.Add({20, 0, 30, 10});
    area.Add({10, 0, 20, 10});
    EXPECT_EQ(area.Take(), (std::vector<Rectangle>{{0, 0, 30, 10}}));
}

TEST(DirtyAreaTest, EmptyRectanglesAreNoWork)
{
    DirtyArea area;
    area.Add({5, 5, 5, 9});
    EXPECT_TRUE(area.IsEmpty());
}

TEST(DirtyAreaTest, HoldsEverythingThatWasAddedInFewRectangles)
{
    DirtyArea area;
    std::vector<Rectangle> added;
    for (std::int32_t i = 0; i < 100; ++i)
        added.push_back(
            {(i * 7919) % 2000, (i * 104729) % 1000, (i * 7919) % 2000 + 3, (i * 104729) % 1000 + 4});
    for (const Rectangle& rectangle : added)
        area.Add(rectangle);
    const std::vector<Rectangle> taken = area.Take();
    EXPECT_LE(taken.size(), 8u);
    for (const Rectangle& rectangle : added) {
        EXPECT_TRUE(std::ranges::any_of(
            taken, [&](const Rectangle& one) { return Intersection(one, rectangle) == rectangle; }));
    }
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client::View
