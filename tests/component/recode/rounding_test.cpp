#include "recode/lut_recoder.h"
#include "recode/recode.h"
#include "tests/component/recode/samples.h"
#include "tests/first_difference.h"

#include <gtest/gtest.h>

#include <cfenv>
#include <stdexcept>
#include <string>
#include <xmmintrin.h>

// A caller may compute in any mode: what he gets is the same, and his mode stays as it was.

using namespace Mardu::Sentel::Tavlo;
using reference::Kind;

namespace {

struct Mode
{
    const char* name;
    int rounding;
    unsigned more; ///< further bits of the control register
};

void PrintTo(const Mode& mode, std::ostream* out)
{
    *out << mode.name;
}

constexpr unsigned flushToZero = 0x8000;
constexpr unsigned denormalsAreZero = 0x0040;

constexpr Mode modes[] = {
    {"ToNearest", FE_TONEAREST, 0},
    {"Upward", FE_UPWARD, 0},
    {"Downward", FE_DOWNWARD, 0},
    {"TowardZero", FE_TOWARDZERO, 0},
    {"WithoutDenormals", FE_TONEAREST, flushToZero | denormalsAreZero},
};

constexpr unsigned flagBits = 0x3F;

/// What this thread computes in, without what happened in it.
unsigned ModeNow()
{
    return _mm_getcsr() & ~flagBits;
}

/// Another mode, as long as this lives.
class InMode
{
public:
    explicit InMode(const Mode& mode) : rounding_(std::fegetround()), before_(_mm_getcsr())
    {
        std::fesetround(mode.rounding);
        _mm_setcsr(_mm_getcsr() | mode.more);
    }
    ~InMode()
    {
        std::fesetround(rounding_);
        _mm_setcsr(before_);
    }
    InMode(const InMode&) = delete;
    InMode& operator=(const InMode&) = delete;

private:
    int rounding_;
    unsigned before_;
};

class Rounding : public testing::TestWithParam<Mode>
{
};

TavloDescriptorData Row(const Kind& kind, int count)
{
    const int size = reference::SizeOf(kind);
    return {count, 1, kind.bits, kind.encoding, 0, size, size * count};
}

struct Tones
{
    double contrast, brightness, gamma, sigma;
};

constexpr Tones roundedTones[] = {{1, 0, 1, 1}, {1.3, -0.1, 1, 1}, {0.9, 0.07, 2.2, 1.5}};

std::vector<std::uint8_t> Recoded(const Samples& samples, const Kind& target, const Tones& tone)
{
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(samples.Count() * reference::SizeOf(target)));
    LUTRecoder recoder(Row(samples.kind, samples.Count()), Row(target, samples.Count()));
    recoder.SetContrast(tone.contrast);
    recoder.SetBrightness(tone.brightness);
    recoder.SetGamma(tone.gamma);
    recoder.SetSigma(tone.sigma);
    EXPECT_EQ(recoder.Recode(samples.bytes.data(), pixels.data()), RecodeResult::done);
    return pixels;
}

using Conversion = decltype(&Recode);

std::vector<std::uint8_t> Converted(Conversion service, const Samples& samples, const Kind& target)
{
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(samples.Count() * reference::SizeOf(target)));
    EXPECT_EQ(service(Row(samples.kind, samples.Count()), samples.bytes.data(), Row(target, samples.Count()),
                      pixels.data(), nullptr, nullptr),
              RecodeResult::done);
    return pixels;
}

/// Runs the same in the usual mode and in another one, which stays.
template <class Run>
void ExpectSame(const Mode& mode, const Run& run)
{
    const auto expected = run();
    const InMode inMode(mode);
    const unsigned before = ModeNow();
    const int rounding = std::fegetround();
    const auto actual = run();
    const unsigned after = ModeNow();
    const int roundingAfter = std::fegetround();
    const InMode usual({"", FE_TONEAREST, 0});
    EXPECT_EQ(after, before);
    EXPECT_EQ(roundingAfter, rounding);
    ASSERT_TRUE(SamePixels(actual, expected));
}

} // namespace

TEST_P(Rounding, OfTheCallerChangesNoPixel)
{
    for (const auto& [source, target] : reference::Pairs()) {
        const Samples samples = DistinctSamples(source, 300);
        SCOPED_TRACE(reference::Text(source) + " to " + reference::Text(target));
        for (const Tones& tone : roundedTones)
            ExpectSame(GetParam(), [&, to = target] { return Recoded(samples, to, tone); });
        ExpectSame(GetParam(), [&, to = target] { return Converted(Recode, samples, to); });
        ExpectSame(GetParam(), [&, to = target] { return Converted(Cast, samples, to); });
    }
}

TEST_P(Rounding, OfTheCallerChangesNoColor)
{
    const auto colors = [](const Kind& target) {
        std::vector<PackedColor> result;
        LUTRecoder recoder(Row({8, Tavlo_Unsigned}, 1), Row(target, 1));
        recoder.SetContrast(1.3);
        recoder.SetGamma(0.7);
        (void)recoder.SetColor(0.3, 0x804020FF);
        // Positions that are exact in every mode.
        for (int i = 0; i <= 1024; ++i)
            result.push_back(recoder.GetColor(i / 1024.0));
        return result;
    };
    for (const Kind& target : {Kind{8, Tavlo_Unsigned}, Kind{24, Tavlo_RGB}})
        ExpectSame(GetParam(), [&] { return colors(target); });
}

TEST_P(Rounding, OfTheCallerStaysWhenAConversionIsRefused)
{
    const InMode inMode(GetParam());
    const unsigned before = ModeNow();
    const std::uint8_t source[8] = {};
    std::uint8_t target[8] = {};
    EXPECT_THROW((void)Recode(Row({8, Tavlo_Signed}, 1), source, Row({24, Tavlo_RGB}, 1), target),
                 std::runtime_error);
    EXPECT_EQ(ModeNow(), before);
    EXPECT_THROW((void)Cast(Row({8, Tavlo_Signed}, 1), source, Row({24, Tavlo_RGB}, 1), target),
                 std::runtime_error);
    EXPECT_EQ(ModeNow(), before);
    LUTRecoder recoder(Row({8, Tavlo_Unsigned}, 1), Row({8, Tavlo_Unsigned}, 1));
    const PixelRect outside{0, 0, 2, 1};
    EXPECT_THROW((void)recoder.Recode(source, target, &outside), std::invalid_argument);
    EXPECT_EQ(ModeNow(), before);
    recoder.SetContrast(2.0);
    EXPECT_EQ(recoder.Recode(source, target, &outside), RecodeResult::invalidArgument);
    EXPECT_EQ(ModeNow(), before);
}

INSTANTIATE_TEST_SUITE_P(In, Rounding, testing::ValuesIn(modes),
                         [](const auto& mode) { return std::string(mode.param.name); });
