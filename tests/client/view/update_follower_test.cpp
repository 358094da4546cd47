#include "client/view/update_follower.h"

#include "tests/client/view/recording_display.h"

#include <gtest/gtest.h>

#include <array>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

class UpdateFollowerTest : public testing::Test
{
protected:
    std::array<std::uint8_t, 16> pixels{};
    Scene scene{{4, 4, 8, Encoding::Unsigned, 0, 1, 4}, pixels.data()};
    RecordingDisplay display;
    ToneControl tone{scene, display, {}};
    UpdateFollower follower{scene, display, tone};
};

TEST_F(UpdateFollowerTest, RepaintsWhatHasChangedAtOnce)
{
    follower.Take({{{0, 0, 1, 1}, {2, 2, 4, 4}}, {std::chrono::steady_clock::now()}, {2, 2, 4, 4}});
    EXPECT_EQ(display.parts, (std::vector<Rectangle>{{0, 0, 1, 1}, {2, 2, 4, 4}}));
    EXPECT_EQ(display.shows, 1);
    EXPECT_EQ(scene.updates.Count(), 1);
    EXPECT_EQ(scene.lastChange, (Rectangle{2, 2, 4, 4}));
}

TEST_F(UpdateFollowerTest, WantsTicksAfterAnUpdate)
{
    follower.Take({{}, {std::chrono::steady_clock::now()}, {}});
    EXPECT_TRUE(follower.OnTick(true));
}

TEST_F(UpdateFollowerTest, ABlankImageIsLookedAtAgainAsSoonAsItHasValues)
{
    EXPECT_EQ(scene.levels, FullLevels(scene.range));
    pixels = {10, 20, 30, 40};
    follower.Take({{}, {std::chrono::steady_clock::now()}, {}});
    follower.OnTick(false);
    EXPECT_EQ(scene.levels, (Levels{0, 40}));
}

TEST_F(UpdateFollowerTest, AClosedProducersLastPictureIsShownWhole)
{
    scene.isFollowing = true;
    follower.ProducerClosed();
    EXPECT_EQ(scene.producer, Producer::Closed);
    EXPECT_FALSE(scene.isFollowing);
    EXPECT_EQ(display.repaints, 1);
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client::View
