#include "client/pictures/pattern.h"

#include "client/pictures/statistics.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

/// An image with room around it, to see what is written beside its pixels.
class Canvas
{
public:
    static constexpr std::uint8_t untouched = 0xA5;

    Canvas(std::int32_t width, std::int32_t height, PixelType type, std::int32_t pixelSize)
        : descriptor{width, height, type.bits, type.encoding, pixelSize, pixelSize, width * pixelSize + 3},
          memory(static_cast<std::size_t>(pixelSize + height * descriptor.strideY + 16), untouched)
    {
    }

    void Paint(const Pattern& pattern, const Rectangle& part)
    {
        Client::Paint(descriptor, *SampleTypeOf(descriptor), pattern, part, memory.data());
    }
    void Paint(const Pattern& pattern) { Paint(pattern, {0, 0, descriptor.width, descriptor.height}); }

    template <typename T>
    T At(std::int32_t x, std::int32_t y, std::size_t component = 0) const
    {
        T value;
        std::memcpy(&value,
                    memory.data() + descriptor.offset + y * descriptor.strideY + x * descriptor.strideX +
                        component * sizeof value,
                    sizeof value);
        return value;
    }

    ComponentStatistics Statistics(std::size_t component = 0) const
    {
        return StatisticsOf(descriptor, *SampleTypeOf(descriptor), memory.data()).at(component);
    }

    Descriptor descriptor;
    std::vector<std::uint8_t> memory;
};

Pattern Solid(std::vector<std::string> values)
{
    return {.kind = PatternKind::Solid, .values = std::move(values)};
}

std::string Complaint(Canvas& canvas, const Pattern& pattern)
{
    try {
        canvas.Paint(pattern);
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
    return "";
}

TEST(PatternTest, AGradientRunsFromTheLowestValueToTheHighest)
{
    Canvas grey(5, 3, {Encoding::Unsigned, 8}, 1);
    grey.Paint({});
    EXPECT_EQ(grey.At<std::uint8_t>(0, 0), 0);
    EXPECT_EQ(grey.At<std::uint8_t>(3, 0), 128); // 127.5
    EXPECT_EQ(grey.At<std::uint8_t>(1, 2), 128);
    EXPECT_EQ(grey.At<std::uint8_t>(4, 2), 255);
}

TEST(PatternTest, TheRangeIsThatOfTheBits)
{
    Canvas narrow(5, 3, {Encoding::Unsigned, 12}, 2);
    narrow.Paint({});
    EXPECT_EQ(narrow.At<std::uint16_t>(0, 0), 0);
    EXPECT_EQ(narrow.At<std::uint16_t>(4, 2), 4095);

    Canvas negative(5, 3, {Encoding::Signed, 12}, 2);
    negative.Paint({});
    EXPECT_EQ(negative.At<std::int16_t>(0, 0), -2048);
    EXPECT_EQ(negative.At<std::int16_t>(4, 2), 2047);

    Canvas wide(2, 1, {Encoding::Signed, 64}, 8);
    wide.Paint({});
    EXPECT_EQ(wide.At<std::int64_t>(0, 0), INT64_MIN);
    EXPECT_EQ(wide.At<std::int64_t>(1, 0), INT64_MAX);

    Canvas widest(2, 1, {Encoding::Unsigned, 64}, 8);
    widest.Paint({});
    EXPECT_EQ(widest.At<std::uint64_t>(1, 0), UINT64_MAX);

    Canvas bit(2, 1, {Encoding::Unsigned, 1}, 1);
    bit.Paint({});
    EXPECT_EQ(bit.At<std::uint8_t>(1, 0), 1);
}

TEST(PatternTest, FloatsRunFromZeroToOne)
{
    Canvas floats(3, 1, {Encoding::Float, 32}, 4);
    floats.Paint({});
    EXPECT_EQ(floats.At<float>(0, 0), 0.0F);
    EXPECT_EQ(floats.At<float>(1, 0), 0.5F);
    EXPECT_EQ(floats.At<float>(2, 0), 1.0F);
}

TEST(PatternTest, ColoursRunInDirectionsOfTheirOwnWhateverTheirOrder)
{
    struct Case
    {
        PixelType type;
        std::size_t red, green, blue;
    };
    for (const Case& c : {Case{{Encoding::RGB, 24}, 0, 1, 2}, Case{{Encoding::BGR, 24}, 2, 1, 0}}) {
        Canvas colours(3, 3, c.type, 3);
        colours.Paint({});
        EXPECT_EQ(colours.At<std::uint8_t>(2, 0, c.red), 255);
        EXPECT_EQ(colours.At<std::uint8_t>(2, 0, c.green), 0);
        EXPECT_EQ(colours.At<std::uint8_t>(2, 0, c.blue), 128);
        EXPECT_EQ(colours.At<std::uint8_t>(0, 2, c.red), 0);
        EXPECT_EQ(colours.At<std::uint8_t>(0, 2, c.green), 255);
    }
}

TEST(PatternTest, AlphaIsOpaqueInEveryPattern)
{
    for (const PatternKind kind : {PatternKind::Gradient, PatternKind::Checkerboard, PatternKind::Noise}) {
        Canvas colours(9, 9, {Encoding::BGRA, 32}, 4);
        colours.Paint({.kind = kind});
        EXPECT_EQ(colours.Statistics(3).minimum, Value{std::uint64_t{255}});
    }
    Canvas colours(1, 1, {Encoding::RGBA, 32}, 4);
    colours.Paint(Solid({"7"}));
    EXPECT_EQ(colours.At<std::uint8_t>(0, 0, 2), 7);
    EXPECT_EQ(colours.At<std::uint8_t>(0, 0, 3), 255);
}

TEST(PatternTest, ACheckerboardHasSquaresOfItsTwoValues)
{
    Canvas grey(6, 4, {Encoding::Unsigned, 16}, 2);
    grey.Paint({.kind = PatternKind::Checkerboard, .square = 2});
    EXPECT_EQ(grey.At<std::uint16_t>(0, 0), 0);
    EXPECT_EQ(grey.At<std::uint16_t>(1, 1), 0);
    EXPECT_EQ(grey.At<std::uint16_t>(2, 1), 65535);
    EXPECT_EQ(grey.At<std::uint16_t>(1, 2), 65535);
    EXPECT_EQ(grey.At<std::uint16_t>(3, 3), 0);
    EXPECT_EQ(grey.At<std::uint16_t>(4, 0), 0);
}

TEST(PatternTest, NoiseIsTheSameForTheSameSeedOnly)
{
    const auto noise = [](std::uint32_t seed) {
        Canvas grey(16, 16, {Encoding::Unsigned, 8}, 1);
        grey.Paint({.kind = PatternKind::Noise, .seed = seed});
        return grey.memory;
    };
    EXPECT_EQ(noise(1), noise(1));
    EXPECT_NE(noise(1), noise(2));
}

TEST(PatternTest, NoiseFillsTheRange)
{
    Canvas grey(64, 64, {Encoding::Unsigned, 5}, 1);
    grey.Paint({.kind = PatternKind::Noise});
    EXPECT_EQ(grey.Statistics().minimum, Value{std::uint64_t{0}});
    EXPECT_EQ(grey.Statistics().maximum, Value{std::uint64_t{31}});
    EXPECT_NEAR(grey.Statistics().mean, 15.5, 1.0);

    Canvas floats(64, 64, {Encoding::Float, 64}, 8);
    floats.Paint({.kind = PatternKind::Noise});
    EXPECT_NEAR(floats.Statistics().mean, 0.5, 0.03);
}

TEST(PatternTest, ComponentsHaveNoiseOfTheirOwn)
{
    Canvas parts(8, 8, {Encoding::ComplexFloat, 64}, 8);
    parts.Paint({.kind = PatternKind::Noise});
    EXPECT_NE(parts.Statistics(0).mean, parts.Statistics(1).mean);
}

TEST(PatternTest, SolidValuesAreGivenRedFirst)
{
    Canvas colours(1, 1, {Encoding::BGRA, 32}, 4);
    colours.Paint(Solid({"10", "20", "30", "40"}));
    EXPECT_EQ(colours.At<std::uint8_t>(0, 0, 0), 30);
    EXPECT_EQ(colours.At<std::uint8_t>(0, 0, 1), 20);
    EXPECT_EQ(colours.At<std::uint8_t>(0, 0, 2), 10);
    EXPECT_EQ(colours.At<std::uint8_t>(0, 0, 3), 40);

    Canvas vectors(1, 1, {Encoding::FloatVector3D, 96}, 12);
    vectors.Paint(Solid({"-1.5", "1e3", "0"}));
    EXPECT_EQ(vectors.At<float>(0, 0, 0), -1.5F);
    EXPECT_EQ(vectors.At<float>(0, 0, 1), 1000.0F);
    EXPECT_EQ(vectors.At<float>(0, 0, 2), 0.0F);
}

TEST(PatternTest, SolidValuesOfAllBitsAreExact)
{
    Canvas wide(1, 1, {Encoding::Unsigned, 64}, 8);
    wide.Paint(Solid({"18446744073709551615"}));
    EXPECT_EQ(wide.At<std::uint64_t>(0, 0), UINT64_MAX);
    wide.Paint(Solid({"9007199254740993"}));
    EXPECT_EQ(wide.At<std::uint64_t>(0, 0), 9007199254740993u);
}

TEST(PatternTest, OtherValuesAreRefusedAndNothingChanges)
{
    Canvas grey(4, 4, {Encoding::Unsigned, 12}, 2);
    const std::vector<std::uint8_t> before = grey.memory;
    EXPECT_EQ(Complaint(grey, Solid({"4096"})),
              "the value must be a whole number from 0 to 4095, not '4096'");
    EXPECT_EQ(Complaint(grey, Solid({"-1"})), "the value must be a whole number from 0 to 4095, not '-1'");
    EXPECT_EQ(Complaint(grey, Solid({"1.5"})), "the value must be a whole number from 0 to 4095, not '1.5'");
    EXPECT_EQ(Complaint(grey, Solid({""})), "the value must be a whole number from 0 to 4095, not ''");
    EXPECT_EQ(Complaint(grey, Solid({"1", "2"})), "a pixel has 1 value, not 2");
    EXPECT_EQ(grey.memory, before);

    Canvas small(1, 1, {Encoding::Signed, 3}, 1);
    EXPECT_EQ(Complaint(small, Solid({"4"})), "the value must be a whole number from -4 to 3, not '4'");

    Canvas colours(4, 4, {Encoding::RGB, 24}, 3);
    const std::vector<std::uint8_t> coloursBefore = colours.memory;
    EXPECT_EQ(Complaint(colours, Solid({"1", "2"})), "a pixel has 3 values, not 2");
    EXPECT_EQ(Complaint(colours, Solid({"1", "2", "256"})),
              "the value must be a whole number from 0 to 255, not '256'");
    EXPECT_EQ(colours.memory, coloursBefore);

    Canvas floats(1, 1, {Encoding::Float, 32}, 4);
    EXPECT_EQ(Complaint(floats, Solid({"x"})), "the value must be a number, not 'x'");
}

TEST(PatternTest, OnlyThePartIsPaintedAndThePatternFillsIt)
{
    Canvas grey(5, 4, {Encoding::Unsigned, 8}, 1);
    grey.Paint({}, {1, 1, 4, 3});
    std::size_t touched = 0;
    for (const std::uint8_t byte : grey.memory)
        touched += byte != Canvas::untouched;
    EXPECT_EQ(touched, 6u);
    EXPECT_EQ(grey.At<std::uint8_t>(1, 1), 0);
    EXPECT_EQ(grey.At<std::uint8_t>(3, 2), 255);
    EXPECT_EQ(grey.At<std::uint8_t>(0, 1), Canvas::untouched);
}

TEST(PatternTest, AFourthByteBesideThreeColoursStaysAsItIs)
{
    Canvas colours(2, 1, {Encoding::RGB, 32}, 4);
    colours.Paint(Solid({"1"}));
    EXPECT_EQ(colours.At<std::uint8_t>(1, 0, 2), 1);
    EXPECT_EQ(colours.At<std::uint8_t>(1, 0, 3), Canvas::untouched);
}

TEST(PatternTest, OnePixelIsTheLowest)
{
    Canvas grey(1, 1, {Encoding::Unsigned, 8}, 1);
    grey.Paint({});
    EXPECT_EQ(grey.At<std::uint8_t>(0, 0), 0);
}

TEST(PatternTest, TellsOfEveryRowOfThePart)
{
    std::uint8_t memory[20] = {};
    const Descriptor descriptor{4, 5, 8, Encoding::Unsigned, 0, 1, 4};
    std::vector<std::pair<std::int64_t, std::int64_t>> told;
    Client::Paint(descriptor, *SampleTypeOf(descriptor), {}, {0, 2, 4, 5}, memory,
                  [&](std::int64_t done, std::int64_t total) { told.emplace_back(done, total); });
    const std::vector<std::pair<std::int64_t, std::int64_t>> expected = {{1, 3}, {2, 3}, {3, 3}};
    EXPECT_EQ(told, expected);
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
