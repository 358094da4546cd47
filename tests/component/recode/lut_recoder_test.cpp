#include "recode/lut_recoder.h"

#include "recode/run_plan.h"
#include "tests/component/recode/numbers.h"
#include "tests/component/recode/reference.h"
#include "tests/component/recode/text_of.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <vector>

using namespace Mardu::Sentel::Tavlo;

namespace {

/// All grey values in one row.
TavloDescriptorData Greys(std::int32_t bits, std::int32_t encoding, std::int32_t size)
{
    return {256, 1, bits, encoding, 0, size, 256 * size};
}

const TavloDescriptorData grey8 = Greys(8, Tavlo_Unsigned, 1);
const TavloDescriptorData grey16 = Greys(16, Tavlo_Unsigned, 2);
const TavloDescriptorData rgb24 = Greys(24, Tavlo_RGB, 3);

/// Every byte converted.
std::vector<std::uint8_t> Converted(LUTRecoder& recoder, std::size_t pixelSize)
{
    std::vector<std::uint8_t> source(256), target(256 * pixelSize);
    for (std::size_t i = 0; i < 256; ++i)
        source[i] = static_cast<std::uint8_t>(i);
    EXPECT_EQ(recoder.Recode(source.data(), target.data()), RecodeResult::done);
    return target;
}

void SetTone(LUTRecoder& recoder, const reference::Tone& tone)
{
    recoder.SetContrast(tone.contrast);
    recoder.SetBrightness(tone.brightness);
    recoder.SetGamma(tone.gamma);
    recoder.SetSigma(tone.sigma);
}

struct Parameter
{
    const char* name;
    double (LUTRecoder::*get)() const noexcept;
    void (LUTRecoder::*set)(double) noexcept;
    double initial;
};

/// A test is listed by this.
void PrintTo(const Parameter& parameter, std::ostream* out)
{
    *out << parameter.name;
}

constexpr Parameter toneParameters[] = {
    {"Contrast", &LUTRecoder::GetContrast, &LUTRecoder::SetContrast, 1.0},
    {"Brightness", &LUTRecoder::GetBrightness, &LUTRecoder::SetBrightness, 0.0},
    {"Gamma", &LUTRecoder::GetGamma, &LUTRecoder::SetGamma, 1.0},
    {"Sigma", &LUTRecoder::GetSigma, &LUTRecoder::SetSigma, 1.0},
};

class LUTParameter : public testing::TestWithParam<Parameter>
{
protected:
    double Get() const { return (recoder.*GetParam().get)(); }
    void Set(double value) { (recoder.*GetParam().set)(value); }

    /// A recoder whose table is up to date.
    LUTParameter() { Converted(recoder, 2); }

    LUTRecoder recoder{grey8, grey16};
};

} // namespace

TEST_P(LUTParameter, StartsAtItsDefault)
{
    EXPECT_EQ(Get(), GetParam().initial);
}

TEST_P(LUTParameter, IsStoredAsGiven)
{
    for (double value : {-3.5, 1e300, infinity}) {
        Set(value);
        EXPECT_EQ(Get(), value);
    }
}

TEST_P(LUTParameter, MarksTheTableStaleOnlyWhenItChanges)
{
    EXPECT_FALSE(recoder.IsStale());
    Set(GetParam().initial);
    EXPECT_FALSE(recoder.IsStale());
    Set(GetParam().initial + 1);
    EXPECT_TRUE(recoder.IsStale());
}

TEST_P(LUTParameter, OfNaNIsStoredWithoutMarkingTheTableStale)
{
    Set(notANumber);
    EXPECT_TRUE(std::isnan(Get()));
    EXPECT_FALSE(recoder.IsStale());
    Set(2.0);
    EXPECT_FALSE(recoder.IsStale()) << "no value is above or below NaN";
}

INSTANTIATE_TEST_SUITE_P(Of, LUTParameter, testing::ValuesIn(toneParameters),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

TEST(LUTRecoder, RefusesAnUnsupportedPair)
{
    EXPECT_EQ(TextOf<std::runtime_error>([] { LUTRecoder(Greys(8, Tavlo_Signed, 1), rgb24); }),
              "No recoder implemented from Signed(8) to RGB(24)");
}

TEST(LUTRecoder, StartsStaleAndIsFreshAfterAConversion)
{
    LUTRecoder recoder(grey8, grey16);
    EXPECT_TRUE(recoder.IsStale());
    Converted(recoder, 2);
    EXPECT_FALSE(recoder.IsStale());
}

TEST(LUTRecoder, RefillsItsTableOnlyBeforeTheNextConversion)
{
    LUTRecoder recoder(grey8, grey16);
    const auto plain = Converted(recoder, 2);
    recoder.SetGamma(1.0);
    EXPECT_FALSE(recoder.IsStale());
    recoder.SetGamma(2.0);
    EXPECT_TRUE(recoder.IsStale());
    EXPECT_NE(Converted(recoder, 2), plain);
    recoder.SetGamma(notANumber);
    recoder.SetGamma(1.0);
    EXPECT_NE(Converted(recoder, 2), plain) << "the stale mark is what decides, not the parameters";
}

TEST(LUTRecoder, StaysStaleWhenTheRegionIsRefused)
{
    LUTRecoder recoder(grey8, grey16);
    std::vector<std::uint8_t> memory(512);
    const PixelRect outside{0, 0, 257, 1};
    EXPECT_EQ(recoder.Recode(memory.data(), memory.data(), &outside), RecodeResult::invalidArgument);
    EXPECT_EQ(recoder.Recode(nullptr, memory.data()), RecodeResult::nullPointer);
    EXPECT_TRUE(recoder.IsStale());
}

TEST(LUTRecoder, CopiesEqualTypesWhileContrastBrightnessAndGammaAreDefault)
{
    const std::pair<void (LUTRecoder::*)(double) noexcept, double> changes[] = {
        {&LUTRecoder::SetContrast, 0.5}, {&LUTRecoder::SetBrightness, 0.5}, {&LUTRecoder::SetGamma, 2.0}};
    LUTRecoder fresh(grey8, grey8);
    const auto copy = Converted(fresh, 1);
    EXPECT_EQ(copy[100], 100);
    for (const auto& [set, value] : changes) {
        LUTRecoder recoder(grey8, grey8);
        (recoder.*set)(value);
        EXPECT_NE(Converted(recoder, 1), copy);
    }
}

TEST(LUTRecoder, CopiesEqualTypesWhateverSigmaIs)
{
    LUTRecoder recoder(grey8, grey8);
    recoder.SetSigma(5.0);
    EXPECT_EQ(Converted(recoder, 1)[100], 100);
    EXPECT_TRUE(recoder.IsStale()) << "a copy needs no table";
}

TEST(LUTRecoder, TakesHighBytesOnlyWhileContrastBrightnessAndGammaAreDefault)
{
    const std::uint8_t element[] = {0x00, 0x01};
    std::uint8_t target = 0xEE;
    LUTRecoder recoder({1, 1, 16, Tavlo_Unsigned, 0, 2, 2}, {1, 1, 8, Tavlo_Unsigned, 0, 1, 1});
    recoder.SetSigma(3.0);
    ASSERT_EQ(recoder.Recode(element, &target), RecodeResult::done);
    EXPECT_EQ(target, 1);

    recoder.SetSigma(1.0);
    recoder.SetContrast(0.5);
    ASSERT_EQ(recoder.Recode(element, &target), RecodeResult::done);
    EXPECT_EQ(target, 0);
}

TEST(LUTRecoder, CastsWithoutLookingAtParameters)
{
    LUTRecoder recoder(grey8, grey16);
    recoder.SetContrast(0.0);
    const std::vector<std::uint8_t> source(256, 7);
    std::vector<std::uint8_t> target(512);
    ASSERT_EQ(recoder.Cast(source.data(), target.data()), RecodeResult::done);
    EXPECT_EQ(target[0], 7);
    EXPECT_TRUE(recoder.IsStale());
}

TEST(LUTRecoder, WithoutARampGivesTheGreyOfTheToneCurve)
{
    LUTRecoder recoder(grey8, grey8);
    EXPECT_EQ(recoder.GetColor(0.5), 0xFF7F7F7Fu);
    EXPECT_EQ(recoder.GetColor(-1.0), 0xFF000000u);
    EXPECT_EQ(recoder.GetColor(2.0), 0xFFFFFFFFu);
    EXPECT_EQ(recoder.GetColor(notANumber), 0xFF000000u);

    const reference::Tone tone{1.5, -0.2, 0.7, 1.8};
    SetTone(recoder, tone);
    for (int i = -10; i <= 110; ++i) {
        const auto v = static_cast<std::uint32_t>(reference::Position(tone, i / 100.0) * 255);
        EXPECT_EQ(recoder.GetColor(i / 100.0), 0xFF000000 + v * 0x10101) << i;
    }
}

TEST(LUTRecoder, WithoutARampRefusesColors)
{
    LUTRecoder recoder(grey8, grey16);
    Converted(recoder, 2);
    EXPECT_EQ(recoder.SetColor(0.5, 0xFF0000FF), RecodeResult::invalidArgument);
    recoder.ResetColorLUT();
    EXPECT_FALSE(recoder.IsStale());
    EXPECT_EQ(recoder.GetColor(0.5), 0xFF7F7F7Fu);
}

TEST(ColorRamp, StartsBlackToWhite)
{
    const LUTRecoder recoder(grey8, rgb24);
    EXPECT_EQ(recoder.GetColor(0.0), 0xFF000000u);
    EXPECT_EQ(recoder.GetColor(1.0), 0xFFFFFFFFu);
    EXPECT_EQ(recoder.GetColor(0.5), 0xFF7F7F7Fu);
}

TEST(ColorRamp, InterpolatesToANewControlPoint)
{
    LUTRecoder recoder(grey8, rgb24);
    Converted(recoder, 3);
    ASSERT_EQ(recoder.SetColor(0.5, 0xFF0000FF), RecodeResult::done);
    EXPECT_TRUE(recoder.IsStale());
    EXPECT_EQ(recoder.GetColor(0.25), 0xFF00007Fu);
    EXPECT_EQ(recoder.GetColor(0.5), 0xFF0000FFu);
    EXPECT_EQ(recoder.GetColor(0.75), 0xFF7F7FFFu);
}

TEST(ColorRamp, ReplacesTheColorOfAnExistingControlPoint)
{
    LUTRecoder recoder(grey8, rgb24);
    ASSERT_EQ(recoder.SetColor(0.0, 0x80402010), RecodeResult::done);
    ASSERT_EQ(recoder.SetColor(-0.0, 0x00402010), RecodeResult::done);
    EXPECT_EQ(recoder.GetColor(0.0), 0x00402010u);
    EXPECT_EQ(recoder.GetColor(0.5), 0x7F9F8F87u);
}

TEST(ColorRamp, GivesTheEndsColorsOutsideItsControlPoints)
{
    LUTRecoder recoder(grey8, rgb24);
    ASSERT_EQ(recoder.SetColor(-2.0, 0x11111111), RecodeResult::done);
    ASSERT_EQ(recoder.SetColor(3.0, 0x22222222), RecodeResult::done);
    for (double before : {-2.5, -infinity, notANumber})
        EXPECT_EQ(recoder.GetColor(before), 0x11111111u);
    for (double after : {3.5, infinity})
        EXPECT_EQ(recoder.GetColor(after), 0x22222222u);
}

TEST(ColorRamp, RefusesNaNAsAPosition)
{
    LUTRecoder recoder(grey8, rgb24);
    Converted(recoder, 3);
    EXPECT_EQ(recoder.SetColor(notANumber, 0x11111111), RecodeResult::invalidArgument);
    EXPECT_FALSE(recoder.IsStale());
    EXPECT_EQ(recoder.GetColor(0.0), 0xFF000000u);
}

TEST(ColorRamp, BearsControlPointsAnyDistanceApart)
{
    LUTRecoder recoder(grey8, rgb24);
    for (double far : {1e308, -1e308, infinity, -infinity})
        ASSERT_EQ(recoder.SetColor(far, 0xFFFFFFFF), RecodeResult::done);
    for (double at : {-1e307, -5.0, 1e307, 1e308, infinity})
        (void)recoder.GetColor(at);
    EXPECT_EQ(recoder.GetColor(0.5), 0xFF7F7F7Fu);
}

TEST(ColorRamp, IsResetToBlackAndWhite)
{
    LUTRecoder recoder(grey8, rgb24);
    const auto plain = Converted(recoder, 3);
    ASSERT_EQ(recoder.SetColor(0.3, 0x11223344), RecodeResult::done);
    EXPECT_NE(Converted(recoder, 3), plain);
    recoder.ResetColorLUT();
    EXPECT_TRUE(recoder.IsStale());
    EXPECT_EQ(Converted(recoder, 3), plain);
}

TEST(ColorRamp, ColorsWordsWhateverSmallImagesCameBefore)
{
    const reference::Ramp ramp{{0.0, 0xFF000000}, {0.4, 0xFF0040C0}, {1.0, 0xFFFFFFFF}};
    const reference::Kind grey{16, Tavlo_Unsigned};
    const reference::Kind color{24, Tavlo_RGB};
    LUTRecoder recoder(grey16, rgb24);
    ASSERT_EQ(recoder.SetColor(0.4, 0xFF0040C0), RecodeResult::done);
    for (const reference::Tone& tone : {reference::Tone{1, 0, 1, 1}, reference::Tone{1.4, -0.2, 1.5, 2}}) {
        SetTone(recoder, tone);
        // In the middle, above, below, and over all.
        for (const auto& [first, step] : {std::pair{30000, 1}, {50000, 7}, {0, 3}, {255, 256}}) {
            std::vector<std::uint16_t> source(256);
            for (int i = 0; i < 256; ++i)
                source[static_cast<std::size_t>(i)] = static_cast<std::uint16_t>(first + i * step);
            std::vector<std::uint8_t> colors(256 * 3);
            const auto* pixels = reinterpret_cast<const std::uint8_t*>(source.data());
            ASSERT_EQ(recoder.Recode(pixels, colors.data()), RecodeResult::done);
            for (std::size_t i = 0; i < 256; ++i) {
                const auto want = reference::Pair(grey, color).Recoded(pixels + 2 * i, tone, ramp);
                ASSERT_TRUE(std::equal(want.data, want.data + 3, &colors[3 * i])) << source[i];
            }
        }
    }
}

TEST(ColorRamp, ColorsLargeImagesThroughFlatTablesAndSteepOnes)
{
    const reference::Tone tones[] = {{1, 0, 1, 1}, {40, -7, 1, 1}, {1.2, -0.1, 1.5, 2}, {-1, 1, 1, 1}};
    const reference::Ramp ramp{{0.0, 0x10FF8000}, {0.4, 0xFF0040C0}, {1.0, 0xFFFFFFFF}};
    constexpr std::int32_t width = 1031; // no multiple of a vector
    constexpr std::int32_t height = 1200;
    constexpr std::size_t count = std::size_t{width} * height;
    for (const reference::Kind& grey :
         {reference::Kind{16, Tavlo_Unsigned}, reference::Kind{12, Tavlo_Unsigned},
          reference::Kind{32, Tavlo_Float}}) {
        const std::size_t size = grey.bits == 32 ? 4 : 2;
        std::vector<std::uint8_t> pixels(count * size);
        for (std::size_t i = 0; i < count; ++i) {
            const auto word = static_cast<std::uint16_t>(i * 40503); // each value once in 65536
            const float number = static_cast<float>(word) / 65535.0f;
            std::memcpy(&pixels[i * size], size == 2 ? static_cast<const void*>(&word) : &number, size);
        }
        for (const reference::Kind& color :
             {reference::Kind{32, Tavlo_RGBA}, reference::Kind{32, Tavlo_BGRA}}) {
            if (reference::ClassOf(grey, color).empty())
                continue;
            const auto step = static_cast<std::int32_t>(size);
            LUTRecoder recoder({width, height, grey.bits, grey.encoding, 0, step, step * width},
                               {width, height, color.bits, color.encoding, 0, 4, 4 * width});
            for (const auto& [position, point] : ramp)
                ASSERT_EQ(recoder.SetColor(position, point), RecodeResult::done);
            for (const reference::Tone& tone : tones) {
                SCOPED_TRACE(reference::Text(grey) + " to " + reference::Text(color) + ", " +
                             reference::Text(tone));
                SetTone(recoder, tone);
                std::vector<std::uint8_t> colors(4 * count);
                ASSERT_EQ(recoder.Recode(pixels.data(), colors.data()), RecodeResult::done);
                // Among the first pixels are all values, among the last ones all places in a vector.
                for (std::size_t i = 0; i < count; i += i < 65536 || i > count - 200 ? 1 : 97) {
                    const auto want = reference::Pair(grey, color).Recoded(&pixels[i * size], tone, ramp);
                    ASSERT_TRUE(std::equal(want.data, want.data + 4, &colors[4 * i])) << i;
                }
            }
        }
    }
}

TEST(ColorRamp, ColorsEveryEntryOfTheTable)
{
    const reference::Ramp ramp{{0.0, 0x10FF8000}, {0.2, 0xFF0040C0}, {0.7, 0x7F00FF00}, {1.0, 0xFFFFFFFF}};
    const reference::Tone tones[] = {{1, 0, 1, 1}, {1.4, -0.2, 1, 1}, {0.8, 0.1, 1.5, 2}};
    const reference::Kind grey{8, Tavlo_Unsigned};
    for (const reference::Kind& target : {reference::Kind{24, Tavlo_RGB}, reference::Kind{24, Tavlo_BGR},
                                          reference::Kind{32, Tavlo_RGBA}, reference::Kind{32, Tavlo_BGRA}})
        for (const reference::Tone& tone : tones) {
            const int size = reference::SizeOf(target);
            LUTRecoder recoder(grey8, Greys(target.bits, target.encoding, size));
            for (const auto& [position, color] : ramp)
                ASSERT_EQ(recoder.SetColor(position, color), RecodeResult::done);
            SetTone(recoder, tone);
            const auto colors = Converted(recoder, static_cast<std::size_t>(size));
            for (int i = 0; i < 256; ++i) {
                const auto v = static_cast<std::uint8_t>(i);
                const auto want = reference::Pair(grey, target).Recoded(&v, tone, ramp);
                ASSERT_TRUE(std::equal(want.data, want.data + size, colors.begin() + i * size)) << i;
            }
        }
}
