#include "client/view/status.h"

#include <gtest/gtest.h>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

using namespace std::chrono_literals;

TEST(UpdateRateTest, CountsTheLastSecond)
{
    UpdateRate rate;
    UpdateRate::Time now;
    for (int i = 0; i < 300; ++i)
        rate.Add(now += 10ms);
    EXPECT_DOUBLE_EQ(rate.PerSecond(now), 100);
    EXPECT_DOUBLE_EQ(rate.PerSecond(now + 500ms), 50);
    EXPECT_DOUBLE_EQ(rate.PerSecond(now + 1s), 0);
    EXPECT_EQ(rate.Count(), 300);
}

TEST(StatusTest, Texts)
{
    EXPECT_EQ(GeometryText({512, 256, 16, Encoding::Unsigned, 0, 2, 1024}), "512 x 256  Unsigned 16");
    EXPECT_EQ(ScaleText(1), "100 %");
    EXPECT_EQ(ScaleText(1.5), "150 %");
    EXPECT_EQ(ScaleText(0.375), "37.5 %");
    EXPECT_EQ(ScaleText(0.0123), "1.23 %");
    EXPECT_EQ(ChangeText(std::nullopt), "");
    EXPECT_EQ(ChangeText(Rectangle{1, 2, 30, 40}), "changed 1,2,30,40");
    EXPECT_EQ(PixelText({3, 4}, "567"), "(3, 4)  567");
}

TEST(StatusTest, TellsOfTheProducer)
{
    EXPECT_EQ(UpdatesText(Producer::Alive, 1, 0.2), "1 update, 0/s");
    EXPECT_EQ(UpdatesText(Producer::Alive, 600, 60), "600 updates, 60/s");
    EXPECT_EQ(UpdatesText(Producer::Closed, 7, 3),
              "The producer has closed: this is its last picture, after 7 updates");
    EXPECT_EQ(UpdatesText(Producer::None, 0, 0), "not shared");
}

TEST(StatusTest, LevelsHaveTheDigitsThatMatter)
{
    EXPECT_EQ(LevelText(1234.4, {0, 65535}), "1234");
    EXPECT_EQ(LevelText(12.44, {0, 255}), "12.4");
    EXPECT_EQ(LevelText(0.12345, {0, 1}), "0.123");
    EXPECT_EQ(LevelText(100, {0, 255}), "100");
    EXPECT_EQ(LevelText(0.25, {0, 1}), "0.25");
    EXPECT_EQ(LevelText(-0.2, {0, 65535}), "0");
}

TEST(SteppedTest, IsExactlyOneAfterAsManyStepsUpAsDown)
{
    Stepped stepped;
    stepped.Step(7);
    EXPECT_GT(stepped.Value(), 1.9);
    stepped.Step(-7);
    EXPECT_EQ(stepped.Value(), 1.0);
    stepped.Step(1000);
    EXPECT_NEAR(stepped.Value(), 10, 1e-9);
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client::View
