#include "client/images/update_queue.h"

#include "client/foundation/failure.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

bool IsSignalled(const UpdateQueue& queue)
{
    return WaitForSingleObject(queue.Event(), 0) == WAIT_OBJECT_0;
}

TEST(UpdateQueueTest, GivesEveryRectangleOnce)
{
    UpdateQueue queue;
    EXPECT_FALSE(IsSignalled(queue));
    queue.Add({1, 2, 3, 4});
    queue.Add({5, 6, 7, 8});
    EXPECT_TRUE(IsSignalled(queue));
    const UpdateQueue::Updates updates = queue.Take();
    EXPECT_EQ(updates.rectangles, (std::vector<Rectangle>{{1, 2, 3, 4}, {5, 6, 7, 8}}));
    EXPECT_EQ(updates.merged, 0);
    EXPECT_TRUE(queue.Take().rectangles.empty());
}

TEST(UpdateQueueTest, OfAReaderThatFallsBehindTheLastRectangleGrows)
{
    UpdateQueue queue;
    for (std::size_t i = 0; i < UpdateQueue::most; ++i)
        queue.Add({0, 0, 1, 1});
    queue.Add({10, 20, 11, 21});
    queue.Add({4, 30, 5, 31});
    const UpdateQueue::Updates updates = queue.Take();
    ASSERT_EQ(updates.rectangles.size(), UpdateQueue::most);
    EXPECT_EQ(updates.rectangles.front(), (Rectangle{0, 0, 1, 1}));
    EXPECT_EQ(updates.rectangles.back(), (Rectangle{0, 0, 11, 31}));
    EXPECT_EQ(updates.merged, 2);
}

TEST(UpdateQueueTest, StartsAgainOnceItWasTaken)
{
    UpdateQueue queue;
    for (std::size_t i = 0; i < UpdateQueue::most + 1; ++i)
        queue.Add({0, 0, 1, 1});
    queue.Take();
    queue.Add({1, 2, 3, 4});
    const UpdateQueue::Updates updates = queue.Take();
    EXPECT_EQ(updates.rectangles, (std::vector<Rectangle>{{1, 2, 3, 4}}));
    EXPECT_EQ(updates.merged, 0);
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
