#include "client/view/axis.h"

#include <gtest/gtest.h>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

TEST(AxisTest, SharesCoverEverySampleOnce)
{
    const Axis axis = {0.37, -5, 200};
    std::uint64_t total = 0;
    for (const Share& share : axis.Area(-5, 69))
        total += share.total;
    EXPECT_EQ(total, 200u * 256);
}

TEST(AxisTest, StepsKeepFourToEightSamplesForAWindowPixel)
{
    for (double scale = 0.0001; scale <= 0.25; scale *= 1.01) {
        const double shown = 1 / (scale * StepFor(scale));
        EXPECT_GE(shown, 4 - 1e-9);
        EXPECT_LT(shown, 8);
    }
    EXPECT_EQ(StepFor(0.3), 1);
    EXPECT_EQ(StepFor(8), 1);
}

TEST(AxisTest, EverySampleIsAPixelOfTheImage)
{
    for (std::int32_t pixels = 1; pixels < 40; ++pixels) {
        for (std::int32_t step = 1; step < 50; ++step) {
            const std::int32_t last = FirstSample(pixels, step) + (SamplesOf(pixels, step) - 1) * step;
            EXPECT_LT(last, pixels);
            EXPECT_GE(last + step, pixels);
        }
    }
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client::View
