#include "client/view/sampled_geometry.h"

#include <gtest/gtest.h>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

constexpr std::int32_t gibi = 1 << 30;

TEST(SampledGeometryTest, WithoutAStepIsTheImage)
{
    EXPECT_EQ(SampledOf({30, 20, 8, Encoding::Unsigned, 7, 1, -32}, 1),
              (SampledGeometry{{30, 20}, 7, 1, -32}));
}

TEST(SampledGeometryTest, BeginsInTheMiddleOfAStep)
{
    EXPECT_EQ(SampledOf({30, 20, 8, Encoding::Unsigned, 0, 1, 32}, 4),
              (SampledGeometry{{7, 5}, 2 + 2 * 32, 4, 128}));
}

TEST(SampledGeometryTest, ReachesBeyondTwoGibibytes)
{
    const SampledGeometry sampled = SampledOf({1, 9, 8, Encoding::Unsigned, 0, 1, gibi}, 4);
    EXPECT_EQ(sampled.first, 2LL * gibi);
    EXPECT_EQ(sampled.strideY, 4LL * gibi);
    EXPECT_EQ(sampled.At(0, 1), 6LL * gibi);
}

TEST(SampledGeometryTest, ReachesThatFarBackwards)
{
    const SampledGeometry sampled = SampledOf({9, 1, 8, Encoding::Unsigned, 5, -gibi, 1}, 4);
    EXPECT_EQ(sampled.At(1, 0), 5 - 6LL * gibi);
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client::View
