#include "client/view/levels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

Descriptor Row(std::size_t count, Encoding encoding, std::int32_t bits, std::int32_t size)
{
    const auto width = static_cast<std::int32_t>(count);
    return {width, 1, bits, encoding, 0, size, size * width};
}

template <typename T>
Histogram Of(const std::vector<T>& values, Encoding encoding, std::int32_t bits = 8 * sizeof(T))
{
    const Descriptor descriptor = Row(values.size(), encoding, bits, sizeof(T));
    const PixelReader reader(descriptor, reinterpret_cast<const std::uint8_t*>(values.data()));
    return Histogram(reader, {0, 0, descriptor.width, 1}, 0);
}

Levels Automatic(const Histogram& histogram, const ValueRange& range)
{
    return AutomaticLevels(std::span(&histogram, 1), range);
}

Levels First(const Histogram& histogram, const ValueRange& range)
{
    return FirstLevels(std::span(&histogram, 1), range);
}

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
    EXPECT_EQ(Automatic(histogram, {0, 1}), (Levels{0, 1}));
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

TEST(LevelsTest, FullLevelsAreContrastOneAndBrightnessZero)
{
    for (const ValueRange& range : {ValueRange{0, 255}, {0, 4095}, {-32768, 32767}, {0, 1}}) {
        const Tone tone = ToneOf(FullLevels(range), range);
        EXPECT_EQ(tone.contrast, 1.0);
        EXPECT_EQ(tone.brightness, 0.0);
        EXPECT_FALSE(std::signbit(tone.brightness));
    }
}

TEST(LevelsTest, BlackBecomesZeroAndWhiteOne)
{
    const ValueRange range = {-128, 127};
    const Levels levels = {-20, 44};
    const auto [contrast, brightness] = ToneOf(levels, range);
    const auto toned = [&](double v) { return (v - range.smallest) / range.Span() * contrast + brightness; };
    EXPECT_NEAR(toned(-20), 0, 1e-12);
    EXPECT_NEAR(toned(44), 1, 1e-12);
}

TEST(LevelsTest, DraggingSidewaysChangesTheContrastAroundTheMiddle)
{
    const Levels levels = Dragged({0, 1000}, 128, 0, {0, 65535});
    EXPECT_DOUBLE_EQ(levels.black, 250);
    EXPECT_DOUBLE_EQ(levels.white, 750);
    EXPECT_EQ(Dragged(levels, -128, 0, {0, 65535}), (Levels{0, 1000}));
}

TEST(LevelsTest, DraggingUpMakesItBrighter)
{
    EXPECT_EQ(Dragged({0, 1000}, 0, -64, {0, 65535}), (Levels{-250, 750}));
    EXPECT_EQ(Dragged({0, 1000}, 0, 64, {0, 65535}), (Levels{250, 1250}));
}

TEST(LevelsTest, BlackAndWhiteNeverMeet)
{
    const Levels levels = Dragged({0, 255}, 1e6, 0, {0, 255});
    EXPECT_LT(levels.black, levels.white);
    EXPECT_TRUE(std::isfinite(Dragged({0, 255}, -1e6, 0, {0, 255}).white));
}

TEST(LevelsTest, AutomaticLevelsLeaveOutHalfAPercentOnEitherSide)
{
    std::vector<std::uint16_t> values(1000, 500);
    values[3] = 0;
    values[500] = 65535;
    for (int i = 0; i < 20; ++i) {
        values[static_cast<std::size_t>(100 + i)] = 300;
        values[static_cast<std::size_t>(200 + i)] = 900;
    }
    EXPECT_EQ(Automatic(Of(values, Encoding::Unsigned), {0, 65535}), (Levels{300, 900}));
}

TEST(LevelsTest, FewDifferentValuesStillGetTheirLevels)
{
    std::vector<std::uint8_t> values(1000, 10);
    values[1] = 12;
    EXPECT_EQ(Automatic(Of(values, Encoding::Unsigned), {0, 255}), (Levels{10, 12}));
    EXPECT_EQ(Automatic(Of(std::vector<std::uint8_t>(10, 9), Encoding::Unsigned), {0, 255}),
              (Levels{0, 255}));
}

TEST(LevelsTest, APictureOfTwelveDeclaredBitsHasTheirRange)
{
    const ValueRange range = RangeOf({Encoding::Unsigned, 12});
    EXPECT_EQ(range, (ValueRange{0, 4095}));
    const std::vector<std::uint16_t> values = {0, 1000, 4095, 2000};
    EXPECT_EQ(First(Of(values, Encoding::Unsigned, 12), range), (Levels{0, 4095}));
}

TEST(LevelsTest, APictureOfTwelveBitsInSixteenIsNotBlack)
{
    const std::vector<std::uint16_t> values = {0, 1000, 4095, 2000};
    EXPECT_EQ(First(Of(values, Encoding::Unsigned), RangeOf({Encoding::Unsigned, 16})), (Levels{0, 4095}));
}

TEST(LevelsTest, FloatsOutsideZeroToOneAreFirstShownWhole)
{
    EXPECT_EQ(First(Of(std::vector<double>{-5, 100}, Encoding::Float), {0, 1}), (Levels{-5, 100}));
    EXPECT_EQ(First(Of(std::vector<double>{0.1, 0.9}, Encoding::Float), {0, 1}), (Levels{0, 1}));
}

TEST(LevelsTest, SeveralComponentsShareTheirLevels)
{
    const std::vector<Histogram> components = {Of(std::vector<std::uint8_t>{10, 50}, Encoding::Unsigned),
                                               Of(std::vector<std::uint8_t>{30, 90}, Encoding::Unsigned)};
    EXPECT_EQ(AutomaticLevels(components, {0, 255}), (Levels{10, 90}));
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client::View
