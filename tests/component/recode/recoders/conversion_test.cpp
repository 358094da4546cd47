#include "recode/kernels/simd_level.h"
#include "recode/lut_recoder.h"
#include "recode/recode.h"
#include "tests/component/recode/numbers.h"
#include "tests/component/recode/samples.h"
#include "tests/first_difference.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <iomanip>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using namespace Mardu::Sentel::Tavlo;
using reference::Bytes;
using reference::Kind;
using reference::Tone;

namespace {

/// The pairs whose source these letters of the element types stand for, so that a test runs
/// for a moment and not for minutes.
struct Family
{
    const char* name;
    int encoding;
    int firstBits;
    int lastBits;
};

/// A test is listed by this.
void PrintTo(const Family& parameter, std::ostream* out)
{
    *out << parameter.name;
}

constexpr Family families[] = {
    {"Unsigned8", Tavlo_Unsigned, 8, 8},
    {"Signed8", Tavlo_Signed, 8, 8},
    {"Unsigned9To13", Tavlo_Unsigned, 9, 13},
    {"Unsigned14", Tavlo_Unsigned, 14, 14},
    {"Unsigned15", Tavlo_Unsigned, 15, 15},
    {"Signed9To13", Tavlo_Signed, 9, 13},
    {"Signed14", Tavlo_Signed, 14, 14},
    {"Signed15", Tavlo_Signed, 15, 15},
    {"Unsigned16", Tavlo_Unsigned, 16, 16},
    {"Signed16", Tavlo_Signed, 16, 16},
    {"Unsigned32", Tavlo_Unsigned, 32, 32},
    {"Signed32", Tavlo_Signed, 32, 32},
    {"Float32", Tavlo_Float, 32, 32},
    {"Float64", Tavlo_Float, 64, 64},
    {"RGB", Tavlo_RGB, 24, 24},
    {"BGR", Tavlo_BGR, 24, 24},
    {"RGBA", Tavlo_RGBA, 32, 32},
    {"BGRA", Tavlo_BGRA, 32, 32},
};

std::vector<std::pair<Kind, Kind>> PairsOf(const Family& family)
{
    std::vector<std::pair<Kind, Kind>> pairs;
    for (const auto& pair : reference::Pairs())
        if (pair.first.encoding == family.encoding && pair.first.bits >= family.firstBits &&
            pair.first.bits <= family.lastBits)
            pairs.push_back(pair);
    return pairs;
}

/// A million random pixels; fewer for targets of 9 to 15 bits, which share one of 16 bits' class.
int RandomCount(const Kind& target)
{
    return target.bits > 8 && target.bits < 16 ? 20000 : 1000000;
}

class Conversion : public testing::TestWithParam<Family>
{
};

/// Packed pixels in one row.
TavloDescriptorData Row(const Kind& kind, int count)
{
    const int size = reference::SizeOf(kind);
    return {count, 1, kind.bits, kind.encoding, 0, size, size * count};
}

std::string Hex(const std::uint8_t* bytes, int count)
{
    std::ostringstream text;
    for (int i = 0; i < count; ++i)
        text << std::hex << std::setw(2) << std::setfill('0') << +bytes[i];
    return text.str();
}

using Expectation = std::function<Bytes(const std::uint8_t*)>;

/// Compares a row of converted pixels with what each of them ought to be; only the first
/// difference is reported.
void ExpectPixels(const Samples& samples, const Kind& target, const std::vector<std::uint8_t>& actual,
                  const Expectation& expected)
{
    const int size = reference::SizeOf(target);
    std::vector<std::optional<Bytes>> known(samples.kind.bits <= 16 ? 1u << samples.kind.bits : 0u);
    for (int i = 0; i < samples.Count(); ++i) {
        const std::uint8_t* pixel = samples.Pixel(i);
        Bytes want;
        if (known.empty()) {
            want = expected(pixel);
        } else {
            auto& entry = known[reference::Meaning(samples.kind, pixel)];
            if (!entry)
                entry = expected(pixel);
            want = *entry;
        }
        const std::uint8_t* got = actual.data() + static_cast<std::ptrdiff_t>(i) * size;
        if (want.count != size || std::memcmp(got, want.data, static_cast<std::size_t>(size)) != 0)
            FAIL() << "pixel " << i << ", " << Hex(pixel, samples.PixelSize()) << ", of "
                   << reference::Text(samples.kind) << " to " << reference::Text(target) << " gave "
                   << Hex(got, size) << " instead of " << Hex(want.data, want.count);
    }
}

/// Runs a conversion of the samples and returns the target's bytes, which are the same at every level that
/// this processor has: the reference, which takes longer than all of them, looks at one.
template <class Convert>
std::vector<std::uint8_t> Converted(const Samples& samples, const Kind& target, const Convert& convert)
{
    const int size = reference::SizeOf(target);
    const SimdLevel usual = ActiveSimdLevel();
    std::vector<std::uint8_t> best;
    for (const SimdLevel level : {SimdLevel::avx512, SimdLevel::avx2, SimdLevel::plain}) {
        if (level > BestSimdLevel())
            continue;
        ForceSimdLevel(level);
        std::vector<std::uint8_t> pixels(static_cast<std::size_t>(samples.Count() * size), 0xA5);
        EXPECT_EQ(convert(Row(samples.kind, samples.Count()), Row(target, samples.Count()), pixels.data()),
                  RecodeResult::done);
        if (best.empty())
            best = std::move(pixels);
        else
            EXPECT_TRUE(SameBytes(pixels, best, {static_cast<std::size_t>(size)}))
                << reference::Text(samples.kind) << " to " << reference::Text(target) << ", " << NameOf(level)
                << " against " << NameOf(BestSimdLevel());
    }
    ForceSimdLevel(usual);
    return best;
}

Expectation Same(const Kind& kind)
{
    return [kind](const std::uint8_t* pixel) {
        Bytes bytes{reference::SizeOf(kind), {}};
        std::copy_n(pixel, bytes.count, bytes.data);
        return bytes;
    };
}

bool IsHighByte(const Kind& source, const Kind& target)
{
    return source.encoding == target.encoding && source.bits == 16 && target.bits == 8;
}

/// What a recoder gives, except for the pairs that are copied while the parameters that
/// matter for it are at their defaults.
Expectation Recoded(const Kind& source, const Kind& target, const Tone& tone)
{
    if (tone.contrast == 1 && tone.brightness == 0 && tone.gamma == 1) {
        if (source == target)
            return Same(source);
        if (IsHighByte(source, target))
            return [](const std::uint8_t* pixel) { return Bytes{1, {pixel[1]}}; };
    }
    return [=, pair = reference::Pair(source, target)](const std::uint8_t* pixel) {
        return pair.Recoded(pixel, tone);
    };
}

void ExpectTone(const Samples& samples, const Kind& target, const Tone& tone)
{
    const auto actual = Converted(samples, target, [&](const auto& src, const auto& dst, std::uint8_t* to) {
        LUTRecoder recoder(src, dst);
        recoder.SetContrast(tone.contrast);
        recoder.SetBrightness(tone.brightness);
        recoder.SetGamma(tone.gamma);
        recoder.SetSigma(tone.sigma);
        return recoder.Recode(samples.bytes.data(), to);
    });
    SCOPED_TRACE(reference::Text(tone));
    ExpectPixels(samples, target, actual, Recoded(samples.kind, target, tone));
}

/// Parameters of every size and sign in every combination.
std::vector<Tone> EveryTone()
{
    std::vector<Tone> tones;
    for (double contrast : {1.0, 0.4, 3.0, 0.0, -0.0, -1.0, -0.3, 1e-300, 1e300})
        for (double brightness : {0.0, 0.25, -0.5, 1.0, 2.0})
            for (double gamma : {1.0, 0.45, 2.2, 0.0, -1.0})
                for (double sigma : {1.0, 1.0000001, 0.5, 3.0, 0.0, -1.0})
                    tones.push_back({contrast, brightness, gamma, sigma});
    for (double special : {infinity, -infinity, notANumber}) {
        tones.push_back({special, 0.1, 1, 1});
        tones.push_back({special, 0.1, 2, 1});
        tones.push_back({1, special, 1, 1});
        tones.push_back({1, special, 1, 2});
        tones.push_back({1, 0.1, special, 1});
        tones.push_back({1, 0.1, 1, special});
    }
    return tones;
}

/// A few of them, for sources with many values.
constexpr Tone someTones[] = {
    {1, 0, 1, 1},   {0.7, 0.2, 1, 1},     {-1, 1, 1, 1},     {0, 0.5, 1, 1},       {2.5, -0.6, 1, 1},
    {1, 0, 2.2, 1}, {1, 0, 1, 1.0000001}, {1, 0, 1, 3},      {1.7, -0.2, 0.45, 2}, {0.3, 0.4, 1.5, 0.5},
    {0, 0.5, 2, 1}, {0, 0, 2, 1},         {-0.8, 0.9, 1, 2}, {1e-300, 0.5, 2, 2},
};

} // namespace

TEST_P(Conversion, OfTheServiceMatchesTheReference)
{
    for (const auto& [source, target] : PairsOf(GetParam())) {
        const Samples samples = ExhaustiveSamples(source, RandomCount(target));
        const auto actual =
            Converted(samples, target, [&](const auto& src, const auto& dst, std::uint8_t* to) {
                return Recode(src, samples.bytes.data(), dst, to);
            });
        if (reference::AreCopied(source, target))
            EXPECT_TRUE(SamePixels(actual, samples.bytes))
                << reference::Text(source) << " to " << reference::Text(target);
        else
            ExpectPixels(samples, target, actual, Recoded(source, target, {}));
    }
}

TEST_P(Conversion, ByPlainValueMatchesTheReference)
{
    for (const auto& [source, target] : PairsOf(GetParam())) {
        const Samples samples = ExhaustiveSamples(source, RandomCount(target));
        const reference::Pair pair(source, target);
        const auto actual =
            Converted(samples, target, [&](const auto& src, const auto& dst, std::uint8_t* to) {
                return Cast(src, samples.bytes.data(), dst, to);
            });
        ExpectPixels(samples, target, actual,
                     source == target ? Same(source) : Expectation([&](const std::uint8_t* pixel) {
                         return pair.Casted(pixel);
                     }));
    }
}

TEST_P(Conversion, OfTheLUTRecoderMatchesTheReferenceOverEveryElement)
{
    for (const auto& [source, target] : PairsOf(GetParam()))
        ExpectTone(ExhaustiveSamples(source, RandomCount(target) / 20), target, {1.3, -0.1, 0.8, 1.6});
}

TEST_P(Conversion, OfTheLUTRecoderMatchesTheReferenceForManyParameters)
{
    const bool hasSmallSource = GetParam().lastBits == 8 || GetParam().firstBits > 16;
    for (const auto& [source, target] : PairsOf(GetParam())) {
        const Samples samples = DistinctSamples(source, 50);
        // Floats become colours through a table of 65536 entries.
        const bool hasLargeTable = source.encoding == Tavlo_Float && target.encoding >= Tavlo_RGB;
        if (hasSmallSource && !hasLargeTable)
            for (const Tone& tone : EveryTone())
                ExpectTone(samples, target, tone);
        else
            for (const Tone& tone : someTones)
                ExpectTone(samples, target, tone);
    }
}

TEST_P(Conversion, OfTheRecoderItselfMatchesTheReferenceWhereTheServicesCopy)
{
    for (const auto& [source, target] : PairsOf(GetParam())) {
        if (!reference::AreCopied(source, target) && !IsHighByte(source, target))
            continue;
        const Samples samples = ExhaustiveSamples(source, 1000);
        const auto count = static_cast<std::uint64_t>(samples.Count());
        const reference::Pair pair(source, target);
        const auto run = [&](auto operation) {
            return Converted(samples, target, [&](const auto& src, const auto& dst, std::uint8_t* to) {
                const RecoderPlan plan = MakeRecoder(src, dst);
                plan.recoder->UpdateLUT();
                return operation(*plan.recoder, to);
            });
        };
        ExpectPixels(samples, target, run([&](recoder_base& recoder, std::uint8_t* to) {
                         return recoder.Recode(samples.bytes.data(), to, count, 1);
                     }),
                     [&](const std::uint8_t* pixel) { return pair.Recoded(pixel, {}); });
        ExpectPixels(samples, target, run([&](recoder_base& recoder, std::uint8_t* to) {
                         return recoder.Cast(samples.bytes.data(), to, count, 1);
                     }),
                     [&](const std::uint8_t* pixel) { return pair.Casted(pixel); });
    }
}

INSTANTIATE_TEST_SUITE_P(From, Conversion, testing::ValuesIn(families),
                         [](const auto& family) { return std::string(family.param.name); });
