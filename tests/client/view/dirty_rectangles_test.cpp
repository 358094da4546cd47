#include "client/view/dirty_rectangles.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

TEST(DirtyAreaTest, NeighboursBecomeOneRectangle)
{
    DirtyRectangles area;
    area.Add({0, 0, 10, 10});
    area.Add({10, 0, 20, 10});
    EXPECT_EQ(area.Take(), (std::vector<Rectangle>{{0, 0, 20, 10}}));
    EXPECT_TRUE(area.IsEmpty());
}

TEST(DirtyAreaTest, FarCornersStayApart)
{
    DirtyRectangles area;
    area.Add({0, 0, 10, 10});
    area.Add({1000, 1000, 1010, 1010});
    EXPECT_EQ(area.Take().size(), 2u);
}

TEST(DirtyAreaTest, AGrownRectangleTakesInWhatItHasReached)
{
    DirtyRectangles area;
    area.Add({0, 0, 10, 10});
    area.Add({20, 0, 30, 10});
    area.Add({10, 0, 20, 10});
    EXPECT_EQ(area.Take(), (std::vector<Rectangle>{{0, 0, 30, 10}}));
}

TEST(DirtyAreaTest, EmptyRectanglesAreNoWork)
{
    DirtyRectangles area;
    area.Add({5, 5, 5, 9});
    EXPECT_TRUE(area.IsEmpty());
}

TEST(DirtyAreaTest, HoldsEverythingThatWasAddedInFewRectangles)
{
    DirtyRectangles area;
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
