#include "recode/recode.h"

#include "recode/lut_recoder.h"
#include "recode/run_plan.h"
#include "tests/component/recode/numbers.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>

using namespace Mardu::Sentel::Tavlo;

// Single pixels whose results are known by heart, and those of docs/recoding.md, "Decisions".
namespace {

TavloDescriptorData One(std::int32_t bits, std::int32_t encoding)
{
    return {1, 1, bits, encoding, 0, 8, 8};
}

using PixelOperation = RecodeResult (*)(const TavloDescriptorData&, const std::uint8_t*,
                                        const TavloDescriptorData&, std::uint8_t*, const PixelRect*,
                                        const PixelPoint*);

/// One pixel converted; the element types are those of the pixels' memory.
template <class D, class S>
D Converted(PixelOperation convert, std::int32_t fromBits, std::int32_t fromEncoding, const S& pixel,
            std::int32_t toBits, std::int32_t toEncoding)
{
    std::uint8_t source[8] = {};
    std::uint8_t target[8] = {};
    std::memcpy(source, &pixel, sizeof pixel);
    EXPECT_EQ(convert(One(fromBits, fromEncoding), source, One(toBits, toEncoding), target, nullptr, nullptr),
              RecodeResult::done);
    D result;
    std::memcpy(&result, target, sizeof result);
    return result;
}

template <class D, class S>
D Direct(PixelOperation convert, const S& pixel)
{
    const auto encoding = [](auto type) {
        using T = decltype(type);
        return std::is_floating_point_v<T> ? Tavlo_Float
               : std::is_signed_v<T>       ? Tavlo_Signed
                                           : Tavlo_Unsigned;
    };
    return Converted<D>(convert, 8 * sizeof(S), encoding(S{}), pixel, 8 * sizeof(D), encoding(D{}));
}

using Rgb = std::array<std::uint8_t, 3>;
using Rgba = std::array<std::uint8_t, 4>;

} // namespace

TEST(NumericExamples, SignedBytesFillUnsignedOnes)
{
    EXPECT_EQ((Direct<std::uint8_t, std::int8_t>(Recode, -128)), 0);
    EXPECT_EQ((Direct<std::uint8_t, std::int8_t>(Recode, 0)), 128);
    EXPECT_EQ((Direct<std::uint8_t, std::int8_t>(Recode, 127)), 255);
}

TEST(NumericExamples, BytesFillWords)
{
    for (int i = 0; i < 256; ++i)
        EXPECT_EQ((Direct<std::uint16_t, std::uint8_t>(Recode, static_cast<std::uint8_t>(i))), i * 257);
}

TEST(NumericExamples, BitFieldsIgnoreTheirUpperBits)
{
    const auto toByte = [](std::int32_t encoding, std::uint16_t element) {
        return Converted<std::uint8_t>(Recode, 12, encoding, element, 8, Tavlo_Unsigned);
    };
    EXPECT_EQ(toByte(Tavlo_Unsigned, 0xF123), 0x123 * 255 / 4095);
    EXPECT_EQ(toByte(Tavlo_Unsigned, 0xF123), toByte(Tavlo_Unsigned, 0x0123));
    EXPECT_EQ(toByte(Tavlo_Signed, 0x0800), 0);
    EXPECT_EQ(toByte(Tavlo_Signed, 0x07FF), 255);
    EXPECT_EQ(toByte(Tavlo_Signed, 0xFFFF), 2047 * 255 / 4095);
}

TEST(NumericExamples, BytesFillTwelveBits)
{
    const auto toTwelve = [](std::uint8_t v) {
        return Converted<std::uint16_t>(Recode, 8, Tavlo_Unsigned, v, 12, Tavlo_Unsigned);
    };
    EXPECT_EQ(toTwelve(255), 4095);
    EXPECT_EQ(toTwelve(1), 16);
}

TEST(NumericExamples, FloatsSaturate)
{
    const std::pair<float, int> cases[] = {{0.5f, 127},
                                           {1.0f, 255},
                                           {3.0f, 255},
                                           {-0.1f, 0},
                                           {std::numeric_limits<float>::quiet_NaN(), 0},
                                           {std::numeric_limits<float>::infinity(), 255},
                                           {-std::numeric_limits<float>::infinity(), 0}};
    for (const auto& [value, expected] : cases)
        EXPECT_EQ((Direct<std::uint8_t, float>(Recode, value)), expected) << value;
}

TEST(NumericExamples, FloatsFillSixteenBitsOfATwelveBitTarget)
{
    EXPECT_EQ(Converted<std::uint16_t>(Recode, 32, Tavlo_Float, 1.0f, 12, Tavlo_Unsigned), 65535);
}

TEST(NumericExamples, TheLargestUnsignedValueIsStoredAsItIs)
{
    EXPECT_EQ((Direct<std::uint32_t, float>(Recode, 2.0f)), 4294967295u);
    EXPECT_EQ((Direct<std::uint32_t, double>(Recode, 0.75)), 3221225471u);
}

TEST(CastExamples, IntegersKeepTheirLowBits)
{
    EXPECT_EQ((Direct<std::uint8_t, std::uint32_t>(Cast, 0x12345678)), 0x78);
    EXPECT_EQ((Direct<std::int8_t, std::uint16_t>(Cast, 0x0180)), -128);
    EXPECT_EQ((Direct<std::int32_t, std::int8_t>(Cast, -5)), -5);
    EXPECT_EQ((Direct<std::uint32_t, std::int16_t>(Cast, -1)), 0xFFFFFFFFu);
    EXPECT_EQ(Converted<std::int32_t>(Cast, 12, Tavlo_Signed, std::uint16_t{0x7FFF}, 32, Tavlo_Signed), -1);
}

TEST(CastExamples, FloatsAreTruncatedWhereThatIsDefined)
{
    EXPECT_EQ((Direct<std::uint8_t, float>(Cast, 255.9f)), 255);
    EXPECT_EQ((Direct<std::uint8_t, float>(Cast, -0.9f)), 0);
    EXPECT_EQ((Direct<std::int8_t, double>(Cast, -128.9)), -128);
    EXPECT_EQ((Direct<std::int32_t, double>(Cast, 2147483647.9)), 2147483647);
}

TEST(CastExamples, FloatsSaturateWhereTruncationIsUndefined)
{
    EXPECT_EQ((Direct<std::uint8_t, float>(Cast, 256.0f)), 255);
    EXPECT_EQ((Direct<std::uint8_t, float>(Cast, -1.0f)), 0);
    EXPECT_EQ((Direct<std::int32_t, double>(Cast, -infinity)), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ((Direct<std::uint32_t, float>(Cast, 1e30f)), 4294967295u);
    EXPECT_EQ((Direct<std::int16_t, double>(Cast, notANumber)), 0);
}

TEST(CastExamples, DoublesTooLargeForFloatsBecomeInfinite)
{
    EXPECT_EQ((Direct<float, double>(Cast, 1e300)), std::numeric_limits<float>::infinity());
    EXPECT_TRUE(std::isnan(Direct<float, double>(Cast, notANumber)));
}

TEST(CastExamples, ColorKeepsItsUnscaledGrey)
{
    EXPECT_EQ(Converted<std::uint16_t>(Cast, 24, Tavlo_RGB, Rgb{255, 0, 0}, 16, Tavlo_Unsigned), 76);
    EXPECT_EQ(Converted<float>(Cast, 24, Tavlo_BGR, Rgb{255, 0, 0}, 32, Tavlo_Float), 28.0f);
}

TEST(CastExamples, GreyBecomesTheSameOpaqueGrey)
{
    EXPECT_EQ(Converted<Rgba>(Cast, 16, Tavlo_Unsigned, std::uint16_t{0x1234}, 32, Tavlo_RGBA),
              (Rgba{0x34, 0x34, 0x34, 255}));
    EXPECT_EQ(Converted<Rgb>(Cast, 32, Tavlo_Float, 300.0f, 24, Tavlo_BGR), (Rgb{255, 255, 255}));
}

TEST(ColorExamples, GreyIsTheWeightedMean)
{
    const auto rgb = [](Rgb pixel) {
        return +Converted<std::uint8_t>(Recode, 24, Tavlo_RGB, pixel, 8, Tavlo_Unsigned);
    };
    EXPECT_EQ(rgb({255, 255, 255}), 255);
    EXPECT_EQ(rgb({255, 0, 0}), 76);
    EXPECT_EQ(rgb({0, 255, 0}), 149);
    EXPECT_EQ(rgb({0, 0, 255}), 28);
    EXPECT_EQ(+Converted<std::uint8_t>(Recode, 24, Tavlo_BGR, Rgb{255, 0, 0}, 8, Tavlo_Unsigned), 28);
}

TEST(ColorExamples, GreyOfThreeChannelsInFourBytesIgnoresTheFourth)
{
    EXPECT_EQ(+Converted<std::uint8_t>(Recode, 32, Tavlo_RGB, Rgba{255, 0, 0, 99}, 8, Tavlo_Unsigned), 76);
}

TEST(ColorExamples, ChannelsAreReversedWhereTheOrderDiffers)
{
    EXPECT_EQ(Converted<Rgba>(Recode, 24, Tavlo_RGB, Rgb{1, 2, 3}, 32, Tavlo_BGRA), (Rgba{3, 2, 1, 255}));
    EXPECT_EQ(Converted<Rgba>(Recode, 24, Tavlo_BGR, Rgb{1, 2, 3}, 32, Tavlo_BGRA), (Rgba{1, 2, 3, 255}));
    EXPECT_EQ(Converted<Rgba>(Recode, 32, Tavlo_BGRA, Rgba{1, 2, 3, 4}, 32, Tavlo_RGBA), (Rgba{3, 2, 1, 4}));
}

TEST(ColorExamples, FloatsTakeTheEntryThatTheirClampedPositionTruncatesTo)
{
    const auto grey = [](float v) { return Converted<Rgb>(Recode, 32, Tavlo_Float, v, 24, Tavlo_RGB)[0]; };
    EXPECT_EQ(grey(-1.0f), 0);
    EXPECT_EQ(grey(0.5f), 127);
    EXPECT_EQ(grey(0.99f), 252);
    EXPECT_EQ(grey(1.0f), 255);
    EXPECT_EQ(grey(std::numeric_limits<float>::infinity()), 255);
    EXPECT_EQ(grey(std::numeric_limits<float>::quiet_NaN()), 0);
}

namespace {

/// One byte to one byte through a table of these parameters.
int Toned(std::uint8_t v, const ToneParameters& parameters)
{
    RecoderPlan plan = MakeRecoder(One(8, Tavlo_Unsigned), One(8, Tavlo_Unsigned));
    plan.recoder->contrast = parameters.contrast;
    plan.recoder->brightness = parameters.brightness;
    plan.recoder->gamma = parameters.gamma;
    plan.recoder->sigma = parameters.sigma;
    plan.recoder->UpdateLUT();
    std::uint8_t target = 0xEE;
    EXPECT_EQ(plan.recoder->Recode(&v, &target, 1, 1), RecodeResult::done);
    return target;
}

} // namespace

TEST(ToneCurve, WithASigmaNextToOneDiffersOnlyByTheCurve)
{
    for (int v = 0; v < 256; ++v)
        EXPECT_NEAR(Toned(static_cast<std::uint8_t>(v), {1, 0, 1, 1.0000001}), v, 1);
}

TEST(ToneCurve, IsConstantForNoContrastOnlyInTheLinearCase)
{
    EXPECT_EQ(Toned(7, {0, 0.5, 1, 1}), 127);
    // Elsewhere the bounds are infinite or NaN.
    EXPECT_EQ(Toned(7, {0, 0.5, 2, 1}), 0) << "between minus and plus infinity there is no middle";
    EXPECT_EQ(Toned(7, {0, 0.0, 2, 1}), 0) << "0 / 0";
    EXPECT_EQ(Toned(7, {0, 1.0, 2, 1}), 0) << "0 / 0";
    EXPECT_EQ(Toned(7, {0, 2.0, 2, 1}), 255) << "at or above minus infinity";
    EXPECT_EQ(Toned(7, {0, -1.0, 2, 1}), 0) << "below plus infinity";
}

TEST(ToneCurve, IsAStepForNegativeContrastOutsideTheLinearCase)
{
    EXPECT_EQ(Toned(0, {-1, 1, 1, 1}), 255) << "the linear case inverts";
    EXPECT_EQ(Toned(255, {-1, 1, 1, 1}), 0);
    EXPECT_EQ(Toned(254, {-1, 1, 2, 1}), 0);
    EXPECT_EQ(Toned(255, {-1, 1, 2, 1}), 255);
}

TEST(ToneCurve, BearsBoundsOfAnySize)
{
    for (double contrast : {1e-320, -1e-320, 1e308, -1e308, infinity, -infinity, notANumber})
        for (double brightness : {0.0, 0.5, 1.0, 1e308, -1e308, infinity, notANumber})
            for (double gamma : {1.0, 2.0, notANumber, -infinity}) {
                const int result = Toned(100, {contrast, brightness, gamma, 2});
                EXPECT_TRUE(result >= 0 && result <= 255);
            }
}

TEST(ToneCurve, OfSignedThirtyTwoBitsComparesTheShiftedValue)
{
    LUTRecoder recoder(One(32, Tavlo_Signed), One(8, Tavlo_Unsigned));
    recoder.SetSigma(2.0);
    const auto toByte = [&](std::int32_t v) {
        std::uint8_t source[4], target = 0;
        std::memcpy(source, &v, 4);
        EXPECT_EQ(recoder.Recode(source, &target), RecodeResult::done);
        return +target;
    };
    EXPECT_EQ(toByte(std::numeric_limits<std::int32_t>::min()), 0);
    EXPECT_EQ(toByte(-1073741824), 31) << "a quarter of the way: 2 * 0.25 squared, halved";
    EXPECT_EQ(toByte(0), 127);
    EXPECT_EQ(toByte(std::numeric_limits<std::int32_t>::max()), 255);
}
