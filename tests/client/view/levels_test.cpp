#include "client/view/levels.h"

#include "tests/client/view/histogram_of.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

Levels Automatic(const Histogram& histogram, const ValueRange& range)
{
    return AutomaticLevels(std::span(&histogram, 1), range);
}

Levels First(const Histogram& histogram, const ValueRange& range)
{
    return FirstLevels(std::span(&histogram, 1), range);
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
