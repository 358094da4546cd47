#include "client/view/histogram.h"

#include "client/view/levels.h"
#include "tests/client/view/histogram_of.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

TEST(HistogramTest, QuantilesOfWholeNumbersAreExact)
{
    std::vector<std::uint16_t> values(1000);
    std::iota(values.begin(), values.end(), std::uint16_t{1});
    const Histogram histogram = Of(values, Encoding::Unsigned);
    EXPECT_EQ(histogram.Count(), 1000);
    EXPECT_EQ(histogram.Values(), (ValueRange{1, 1000}));
    EXPECT_EQ(histogram.Quantile(0.005), 5);
    EXPECT_EQ(histogram.Quantile(0.5), 500);
    EXPECT_EQ(histogram.Quantile(0.995), 995);
    EXPECT_EQ(histogram.Quantile(1), 1000);
}

TEST(HistogramTest, OfFloatsWithWhatIsNoNumber)
{
    const std::vector<float> values = {0.25f, std::nanf(""), std::numeric_limits<float>::infinity(), -3.5f,
                                       8.0f};
    const Histogram histogram = Of(values, Encoding::Float);
    EXPECT_EQ(histogram.Count(), 3);
    EXPECT_EQ(histogram.Values(), (ValueRange{-3.5, 8}));
    EXPECT_NEAR(histogram.Quantile(0.5), 0.25, 11.5 / 65535);
}

TEST(HistogramTest, OfNothing)
{
    const Histogram histogram = Of(std::vector<float>{std::nanf("")}, Encoding::Float);
    EXPECT_EQ(histogram.Count(), 0);
    EXPECT_EQ(AutomaticLevels(std::vector{histogram}, {0, 1}), (Levels{0, 1}));
    EXPECT_EQ(histogram.Sections({0, 1}, 4), std::vector<std::int64_t>(4, 0));
}

TEST(HistogramTest, SectionsCountWhatLiesInTheRange)
{
    const Histogram histogram = Of(std::vector<std::uint8_t>{0, 1, 2, 3, 4, 4, 7, 100}, Encoding::Unsigned);
    EXPECT_EQ(histogram.Sections({0, 8}, 4), (std::vector<std::int64_t>{2, 2, 2, 1}));
    EXPECT_EQ(histogram.Sections({0, 4}, 2), (std::vector<std::int64_t>{2, 4}));
}

TEST(HistogramTest, OfAPartLooksAtNothingElse)
{
    const std::uint8_t memory[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    const PixelReader reader({3, 3, 8, Encoding::Unsigned, 0, 1, 3}, memory);
    EXPECT_EQ(Histogram(reader, {1, 1, 3, 3}, 0).Values(), (ValueRange{5, 9}));
}

TEST(HistogramTest, OfALargeImageLooksAtSomeOfItOnly)
{
    const std::vector<std::uint8_t> memory(2000 * 1000, 9);
    const PixelReader reader({2000, 1000, 8, Encoding::Unsigned, 0, 1, 2000}, memory.data());
    const std::int64_t count = Histogram(reader, {0, 0, 2000, 1000}, 0).Count();
    EXPECT_LE(count, Histogram::mostPixels);
    EXPECT_GT(count, Histogram::mostPixels / 2);
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client::View
