#include "tests/component/recode/kernels/kernels_test.h"

#include <cmath>
#include <cstring>
#include <limits>

// The tone curve, and casts.

namespace {

class NumericKernel : public Kernel
{
};

constexpr ToneParameters kernelTones[] = {
    {1.0, 0.0, 1.0, 1.0},
    {1.2, 0.0, 1.0, 1.0},
    {0.37, 0.0, 1.0, 1.0},
    {1e-310, 0.0, 1.0, 1.0},
    {0.7, 0.2, 1.0, 1.0},
    {-1.3, 0.9, 1.0, 1.0},
    {40.0, -19.5, 1.0, 1.0},
    {5000.0, -2400.0, 1.0, 1.0},
    {0.0, 0.5, 1.0, 1.0},
    {1e60, 0.0, 1.0, 1.0},
    {1e-60, 0.3, 1.0, 1.0},
    {1.0, 0.0, 2.2, 1.0},
    {1.0, 0.0, 1.0, 1.7},
    {1.3, -0.1, 0.45, 2.5},
    {2.0, -0.4, 30.0, 0.2},
    {0.3, 0.3, 200.0, 180.0},
    {1.0, 0.1, -1.0, 1.5},
    {-1.0, 0.5, 2.0, 2.0},
    {0.0, 0.5, 2.0, 2.0},
    {1.0, 0.0, 1.0, 1e-3},
    {1.0, 0.0, 500.0, 1.2},
    {std::numeric_limits<double>::quiet_NaN(), 0.0, 1.0, 1.0},
    {std::numeric_limits<double>::infinity(), 0.0, 1.0, 1.0},
};

constexpr Element elements[] = {Element::signed8,    Element::unsigned8, Element::signed16,
                                Element::unsigned16, Element::signed32,  Element::unsigned32,
                                Element::float32,    Element::float64};

/// Those whose curve is computed for every pixel.
constexpr Element computedSources[] = {Element::signed32, Element::unsigned32, Element::float32,
                                       Element::float64};

const char* NameOf(Element element)
{
    constexpr const char* names[] = {"signed 8",  "unsigned 8",  "signed 16", "unsigned 16",
                                     "signed 32", "unsigned 32", "float 32",  "float 64"};
    return names[IndexOf(element)];
}

std::string PairName(Element source, Element target)
{
    return std::string(NameOf(source)) + " to " + NameOf(target);
}

std::string Text(const ToneParameters& tone)
{
    std::ostringstream text;
    text << "contrast " << tone.contrast << ", brightness " << tone.brightness << ", gamma " << tone.gamma
         << ", sigma " << tone.sigma;
    return text.str();
}

std::size_t BytesOf(Element element)
{
    return SizeOf(element).Bytes();
}

/// Values where something happens: limits, whole target values, their neighbours, and any bits.
template <class S>
std::vector<S> Sources(std::mt19937& random)
{
    std::vector<S> values;
    if constexpr (std::is_floating_point_v<S>) {
        using Limits = std::numeric_limits<S>;
        values = {S{0},
                  -S{0},
                  Limits::quiet_NaN(),
                  Limits::infinity(),
                  -Limits::infinity(),
                  Limits::max(),
                  Limits::lowest(),
                  Limits::min(),
                  Limits::denorm_min(),
                  S{1},
                  S{-1}};
        for (const int last : {255, 4095, 65535})
            for (int i = 0; i <= last; i += last > 255 ? 37 : 1) {
                const S exact = static_cast<S>(i) / static_cast<S>(last);
                values.insert(values.end(),
                              {exact, std::nextafter(exact, S{2}), std::nextafter(exact, S{-2})});
            }
        std::uniform_real_distribution<S> around(S(-0.5), S(1.5));
        for (int i = 0; i < 3000; ++i)
            values.push_back(around(random));
        for (const int exponent : {7, 8, 15, 16, 31, 32})
            for (const S limit : {std::ldexp(S{1}, exponent), -std::ldexp(S{1}, exponent)})
                for (const S d : {S{-1.5}, S{-1}, S{-0.5}, S{0}, S{0.5}, S{1}})
                    values.insert(values.end(),
                                  {limit + d, std::nextafter(limit, S{0}), std::nextafter(limit, 2 * limit)});
    } else {
        for (std::uint64_t i = 0; i <= 255; ++i)
            for (const int d : {-1, 0, 1})
                values.push_back(static_cast<S>(static_cast<std::uint32_t>(i * 4294967295u / 255) +
                                                static_cast<std::uint32_t>(d)));
    }
    for (int i = 0; i < 3000; ++i) {
        const std::uint64_t bits = std::uint64_t{random()} << 32 | random();
        S value;
        std::memcpy(&value, &bits, sizeof value);
        values.push_back(value);
    }
    return values;
}

template <class T>
std::vector<std::uint8_t> AsBytes(const std::vector<T>& values)
{
    // A curve without steps gives no values, and their address may be null then.
    const auto* first = reinterpret_cast<const std::uint8_t*>(values.data());
    return {first, first + values.size() * sizeof(T)};
}

std::vector<std::uint8_t> SourceBytes(Element element, std::mt19937& random)
{
    switch (element) {
    case Element::signed8:
        return AsBytes(Sources<std::int8_t>(random));
    case Element::unsigned8:
        return AsBytes(Sources<std::uint8_t>(random));
    case Element::signed16:
        return AsBytes(Sources<std::int16_t>(random));
    case Element::unsigned16:
        return AsBytes(Sources<std::uint16_t>(random));
    case Element::signed32:
        return AsBytes(Sources<std::int32_t>(random));
    case Element::unsigned32:
        return AsBytes(Sources<std::uint32_t>(random));
    case Element::float32:
        return AsBytes(Sources<float>(random));
    default:
        return AsBytes(Sources<double>(random));
    }
}

/// The curve over pixels of a type, by the loops of a level.
void Compute(const Kernels& kernels, const ToneCurve& curve, Element source, Element target,
             const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
{
    kernels.Of(curve).pairs[CurveKernels::SourceIndex(source)][IndexOf(target)](curve, src, dst, count);
}

ToneCurve CurveOf(const ToneParameters& tone, Element source, Element target)
{
    return {tone, RangeOf(source).span, RangeOf(target), ToneCurve::Bounds::exact};
}

/// Where two levels differ, with the source of the pixel.
testing::AssertionResult SameResults(const std::vector<std::uint8_t>& sources, Element source,
                                     const std::vector<std::uint8_t>& actual,
                                     const std::vector<std::uint8_t>& expected, Element target)
{
    const auto result = SameBytes(actual, expected, {BytesOf(target)});
    if (result)
        return result;
    const auto at = std::mismatch(actual.begin(), actual.end(), expected.begin()).first - actual.begin();
    const std::size_t pixel = static_cast<std::size_t>(at) / BytesOf(target);
    const auto from = sources.begin() + static_cast<std::ptrdiff_t>(pixel * BytesOf(source));
    return testing::AssertionFailure() << result.message() << "from "
                                       << testing::PrintToString(std::vector<std::uint8_t>(
                                              from, from + static_cast<std::ptrdiff_t>(BytesOf(source))));
}

} // namespace

TEST_P(NumericKernel, ComputesTheCurveToTheLastBit)
{
    for (const Element source : computedSources) {
        const std::vector<std::uint8_t> sources = SourceBytes(source, random_);
        const std::size_t count = sources.size() / BytesOf(source);
        for (const Element target : elements)
            for (const ToneParameters& tone : kernelTones) {
                const ToneCurve curve = CurveOf(tone, source, target);
                std::vector<std::uint8_t> expected(count * BytesOf(target));
                std::vector<std::uint8_t> actual(count * BytesOf(target));
                Compute(plain_, curve, source, target, sources.data(), expected.data(), count);
                Compute(vectors_, curve, source, target, sources.data(), actual.data(), count);
                ASSERT_TRUE(SameResults(sources, source, actual, expected, target))
                    << PairName(source, target) << ", " << Text(tone);
            }
    }
}

namespace {

/// Sources around those where the linear curve passes a whole number.
template <class S>
std::vector<std::uint8_t> SourcesAroundSteps(const ToneCurve::Constants& c, std::mt19937& random)
{
    std::vector<S> sources;
    std::uniform_real_distribution<double> aside(-1e-7, 1e-7);
    for (int whole = 0; whole <= 256; ++whole)
        for (int i = 0; i < 16; ++i) {
            const double units = (whole - c.shift) / c.slope * (1.0 + aside(random));
            const double value = units + static_cast<double>(value_range<S>.min);
            if (std::is_floating_point_v<S> || (value >= static_cast<double>(std::numeric_limits<S>::min()) &&
                                                value < static_cast<double>(std::numeric_limits<S>::max())))
                sources.push_back(static_cast<S>(value));
        }
    return AsBytes(sources);
}

} // namespace

TEST_P(NumericKernel, ComputesBytesLikeTheCurveWhereTheyStep)
{
    std::uniform_real_distribution<double> contrasts(0.3, 6.0);
    std::uniform_real_distribution<double> brightnesses(-2.0, 0.7);
    constexpr Element target = Element::unsigned8;
    for (int i = 0; i < 400; ++i)
        for (const Element source : {Element::signed32, Element::unsigned32, Element::float32}) {
            const ToneParameters tone{contrasts(random_), brightnesses(random_), 1.0, 1.0};
            const ToneCurve curve = CurveOf(tone, source, target);
            const auto sources =
                source == Element::signed32     ? SourcesAroundSteps<std::int32_t>(curve.Values(), random_)
                : source == Element::unsigned32 ? SourcesAroundSteps<std::uint32_t>(curve.Values(), random_)
                                                : SourcesAroundSteps<float>(curve.Values(), random_);
            const std::size_t count = sources.size() / BytesOf(source);
            std::vector<std::uint8_t> expected(count);
            std::vector<std::uint8_t> actual(count);
            Compute(plain_, curve, source, target, sources.data(), expected.data(), count);
            Compute(vectors_, curve, source, target, sources.data(), actual.data(), count);
            ASSERT_TRUE(SameResults(sources, source, actual, expected, target))
                << NameOf(source) << ", " << Text(tone);
        }
}

// Wherever the steps lie: at sources of any size that floats have, also beyond those whose units doubles
// count one by one, and for as much brightness as the fast way is taken for, and more.
TEST_P(NumericKernel, ComputesBytesLikeTheCurveForSourcesOfAnySize)
{
    std::uniform_real_distribution<double> mantissas(1.0, 2.0);
    constexpr Element source = Element::float32;
    constexpr Element target = Element::unsigned8;
    for (int exponent = -100; exponent <= 100; ++exponent)
        for (const double brightness : {0.0, 0.3, -0.9, 3.0, -7.0, 15.0, -31.0, 63.0, -120.0, 4000.0}) {
            const double sign = random_() % 2 == 0 ? 1.0 : -1.0;
            const ToneParameters tone{sign * std::ldexp(mantissas(random_), exponent),
                                      brightness * mantissas(random_), 1.0, 1.0};
            const ToneCurve curve = CurveOf(tone, source, target);
            const auto sources = SourcesAroundSteps<float>(curve.Values(), random_);
            const std::size_t count = sources.size() / BytesOf(source);
            std::vector<std::uint8_t> expected(count);
            std::vector<std::uint8_t> actual(count);
            Compute(plain_, curve, source, target, sources.data(), expected.data(), count);
            Compute(vectors_, curve, source, target, sources.data(), actual.data(), count);
            ASSERT_TRUE(SameResults(sources, source, actual, expected, target)) << Text(tone);
        }
}

/// Without contrast and brightness a step of the curve is a whole number of units, so all of them can be
/// tried.
TEST_P(NumericKernel, ComputesTheFullRangeOfIntegersAtEveryStep)
{
    for (const Element source : {Element::signed32, Element::unsigned32})
        for (const Element target : {Element::unsigned8, Element::unsigned16}) {
            const std::size_t size = BytesOf(target);
            const std::uint32_t steps = size == 1 ? 0xFF : 0xFFFF;
            std::vector<std::uint32_t> sources;
            std::vector<std::uint8_t> expected;
            const auto expect = [&](std::uint32_t units, std::uint32_t value) {
                sources.push_back(units ^ (source == Element::signed32 ? 0x80000000u : 0));
                for (std::size_t byte = 0; byte < size; ++byte)
                    expected.push_back(static_cast<std::uint8_t>(value >> (8 * byte)));
            };
            expect(0, 0);
            for (std::uint32_t k = 1; k <= steps; ++k) {
                const std::uint32_t step = 0xFFFFFFFFu / steps * k;
                expect(step - 1, k - 1);
                expect(step, k);
            }
            const ToneCurve curve = CurveOf({}, source, target);
            for (const Kernels* kernels : {&plain_, &vectors_}) {
                std::vector<std::uint8_t> actual(expected.size());
                Compute(*kernels, curve, source, target,
                        reinterpret_cast<const std::uint8_t*>(sources.data()), actual.data(), sources.size());
                ASSERT_TRUE(SameResults(AsBytes(sources), source, actual, expected, target))
                    << PairName(source, target) << (kernels == &plain_ ? ", plain" : ", vectors");
            }
        }
}

TEST_P(NumericKernel, LeavesTheRoundingAsItWas)
{
    const volatile float one = 1.0f;
    const volatile float little = 1e-10f;
    const ToneCurve curve = CurveOf({}, Element::float32, Element::unsigned16);
    for (const std::size_t count : {std::size_t{10}, std::size_t{1000}, std::size_t{100000}}) {
        const std::vector<float> source(count, 0.5f);
        std::vector<std::uint16_t> target(count);
        Compute(vectors_, curve, Element::float32, Element::unsigned16,
                reinterpret_cast<const std::uint8_t*>(source.data()),
                reinterpret_cast<std::uint8_t*>(target.data()), count);
        EXPECT_EQ(target.back(), 32767);
        EXPECT_EQ(one - little, one) << count;
        EXPECT_EQ(one + little, one) << count;
    }
}

/// Large targets are written in another way, and the linear curve has several.
TEST_P(NumericKernel, ComputesTheLinearCurveOfLargeImages)
{
    constexpr std::pair<Element, Element> pairs[] = {
        {Element::float32, Element::unsigned8},  {Element::float32, Element::unsigned16},
        {Element::float32, Element::signed16},   {Element::signed32, Element::unsigned8},
        {Element::signed32, Element::float32},   {Element::unsigned32, Element::float32},
        {Element::unsigned32, Element::float64}, {Element::float64, Element::signed8}};
    for (const auto& [source, target] : pairs)
        for (const double contrast : {1.0, 1.2}) {
            SCOPED_TRACE(PairName(source, target) + ", contrast " + std::to_string(contrast));
            const ToneCurve curve = CurveOf({contrast, 0.0, 1.0, 1.0}, source, target);
            ExpectSamePixels(vectors_, plain_, BytesOf(source), BytesOf(target), false, random_,
                             [&, s = source, d = target](const Kernels& kernels, const std::uint8_t* src,
                                                         std::uint8_t* dst, std::size_t count) {
                                 Compute(kernels, curve, s, d, src, dst, count);
                             },
                             {farBytes / BytesOf(target) + 3, largeTarget / BytesOf(target) + 100});
        }
}

namespace {

/// Every element of 16 bits, whatever is above a field, and some once more.
Buffer EveryWord(std::mt19937& random)
{
    Buffer source(2 * (65536 + 77), random() % 64, random);
    for (std::size_t i = 0; i < 65536; ++i) {
        const auto element = static_cast<std::uint16_t>(i);
        std::memcpy(source.Data() + 2 * i, &element, 2);
    }
    return source;
}

} // namespace

TEST_P(NumericKernel, ComputesWhatATableOfAFieldHolds)
{
    constexpr std::size_t words = 65536 + 77;
    const Buffer source = EveryWord(random_);
    for (const Element target : elements) {
        const std::size_t size = BytesOf(target);
        const auto compute = vectors_.linear.ofField[IndexOf(target)];
        const auto lookup = plain_.lookup.from16[SizeOf(target).Index()];
        ASSERT_NE(compute, nullptr);
        for (int bits = 9; bits <= 16; ++bits)
            for (const bool isSigned : {false, true})
                for (const ToneParameters& tone : kernelTones) {
                    if (!tone.IsLinear())
                        continue;
                    const std::size_t count = std::size_t{1} << bits;
                    const auto mask = static_cast<std::uint32_t>(count - 1);
                    const std::uint32_t sign = isSigned ? 1u << (bits - 1) : 0;
                    const ToneCurve curve(tone, mask, RangeOf(target), ToneCurve::Bounds::whole);
                    std::vector<std::uint8_t> table(count * size);
                    for (std::size_t i = 0; i < count; ++i)
                        plain_.linear.fill[IndexOf(target)](curve, i, &table[(i ^ sign) * size], 1);
                    Buffer expected(words * size, random_() % 64, random_);
                    Buffer actual = expected;
                    lookup(table.data(), mask, source.Data(), expected.Data(), words);
                    compute(curve, mask, sign, source.Data(), actual.Data(), words);
                    ASSERT_TRUE(Same(actual, expected, {size}))
                        << bits << " bits, signed " << isSigned << ", to " << NameOf(target) << ", "
                        << Text(tone);
                }
    }
}

namespace {

/// Which NaN a conversion between floats gives stays open.
void MakeNaNsAlike(std::vector<std::uint8_t>& values, Element element)
{
    const auto each = [&]<class T>(T) {
        for (std::size_t at = 0; at < values.size(); at += sizeof(T)) {
            T value;
            std::memcpy(&value, &values[at], sizeof value);
            if (value != value)
                std::fill_n(values.begin() + static_cast<std::ptrdiff_t>(at), sizeof value,
                            std::uint8_t{0xFF});
        }
    };
    if (element == Element::float32)
        each(float{});
    if (element == Element::float64)
        each(double{});
}

bool IsFloat(Element element)
{
    return element == Element::float32 || element == Element::float64;
}

} // namespace

TEST_P(NumericKernel, CastsValuesAsTheLanguageDoes)
{
    for (const Element source : elements) {
        const std::vector<std::uint8_t> sources = SourceBytes(source, random_);
        const std::size_t count = sources.size() / BytesOf(source);
        for (const Element target : elements) {
            SCOPED_TRACE(PairName(source, target));
            const auto run = [s = source, d = target](const Kernels& kernels, const std::uint8_t* src,
                                                      std::uint8_t* dst, std::size_t pixels) {
                kernels.cast.cast[IndexOf(s)][IndexOf(d)](src, dst, pixels);
            };
            std::vector<std::uint8_t> expected(count * BytesOf(target));
            std::vector<std::uint8_t> actual(count * BytesOf(target));
            run(plain_, sources.data(), expected.data(), count);
            run(vectors_, sources.data(), actual.data(), count);
            MakeNaNsAlike(expected, target);
            MakeNaNsAlike(actual, target);
            ASSERT_TRUE(SameResults(sources, source, actual, expected, target));

            std::vector<std::size_t> counts;
            if (!IsFloat(source))
                counts = {0, 1, 63, 64, 65, 127, 128, 1000};
            if ((source == Element::float32 && !IsFloat(target)) ||
                (!IsFloat(source) && target == Element::float32))
                counts.insert(counts.end(),
                              {farBytes / BytesOf(target) + 3, largeTarget / BytesOf(target) + 100});
            ExpectSamePixels(vectors_, plain_, BytesOf(source), BytesOf(target),
                             BytesOf(target) <= BytesOf(source), random_, run, counts);
        }
    }
}

TEST_P(NumericKernel, FillsTablesToTheLastBit)
{
    for (const Element target : elements) {
        const std::size_t size = BytesOf(target);
        for (const ToneParameters& tone : kernelTones)
            for (const std::size_t count : {std::size_t{256}, std::size_t{4096}, std::size_t{65536}}) {
                const ToneCurve curve(tone, static_cast<double>(count - 1), RangeOf(target),
                                      ToneCurve::Bounds::whole);
                std::vector<std::uint8_t> expected(count * size);
                std::vector<std::uint8_t> actual(count * size);
                const auto fill = [&](const Kernels& kernels, std::size_t first, std::size_t last,
                                      std::vector<std::uint8_t>& table) {
                    kernels.Of(curve).fill[IndexOf(target)](curve, first, &table[first * size], last - first);
                };
                fill(plain_, 0, count, expected);
                fill(vectors_, 0, 3, actual);
                fill(vectors_, 3, 130, actual);
                fill(vectors_, 130, count, actual);
                ASSERT_TRUE(SameBytes(actual, expected, {size}))
                    << NameOf(target) << ", " << count << " entries, " << Text(tone);
            }
    }
}

INSTANTIATE_TEST_SUITE_P(Levels, NumericKernel, testing::ValuesIn(VectorLevels()), LevelName);
