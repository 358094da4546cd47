#include "tests/component/recode/kernels/kernels_test.h"

#include <cmath>
#include <cstring>
#include <limits>

// The tone curve, and casts.

namespace {

class NumericKernel : public Kernel
{
};

constexpr ToneParameters tones[] = {
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

/// Calls `check` with a value of every type that elements have.
template <class Check>
void WithEveryType(const Check& check)
{
    check(std::int8_t{});
    check(std::uint8_t{});
    check(std::int16_t{});
    check(std::uint16_t{});
    check(std::int32_t{});
    check(std::uint32_t{});
    check(float{});
    check(double{});
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

template <class D>
void ExpectSameCurves(const Kernels& vectors, const Kernels& plain, std::mt19937& random)
{
    const auto check = [&]<class S>(S) {
        const std::vector<S> sources = Sources<S>(random);
        std::vector<D> expected(sources.size());
        std::vector<D> actual(sources.size());
        const auto run = [&](const Kernels& kernels, const ToneCurve& curve, std::vector<D>& target) {
            kernels.Of(curve).pairs[CurveKernels::SourceIndex<S>][ElementIndex<D>()](
                curve, reinterpret_cast<const std::uint8_t*>(sources.data()),
                reinterpret_cast<std::uint8_t*>(target.data()), sources.size());
        };
        for (const ToneParameters& tone : tones) {
            SCOPED_TRACE(testing::Message() << "contrast " << tone.contrast << ", gamma " << tone.gamma
                                            << ", sigma " << tone.sigma << ", source " << ElementIndex<S>());
            const ToneCurve curve(tone, value_range<S>.span, value_range<D>, ToneCurve::Bounds::exact);
            run(plain, curve, expected);
            run(vectors, curve, actual);
            for (std::size_t i = 0; i < sources.size(); ++i)
                ASSERT_EQ(std::memcmp(&actual[i], &expected[i], sizeof(D)), 0)
                    << +sources[i] << " gave " << +actual[i] << " instead of " << +expected[i];
        }
    };
    check(std::int32_t{});
    check(std::uint32_t{});
    check(float{});
    check(double{});
}

template <class D>
void ExpectSameFilling(const Kernels& vectors, const Kernels& plain)
{
    std::vector<D> expected(65536);
    std::vector<D> actual(65536);
    for (const ToneParameters& tone : tones)
        for (const std::size_t count : {std::size_t{256}, std::size_t{4096}, std::size_t{65536}}) {
            SCOPED_TRACE(testing::Message() << "contrast " << tone.contrast << ", gamma " << tone.gamma
                                            << ", sigma " << tone.sigma << ", " << count << " entries");
            const ToneCurve curve(tone, static_cast<double>(count - 1), value_range<D>,
                                  ToneCurve::Bounds::whole);
            const auto fill = [&](const Kernels& kernels, std::size_t first, std::size_t last,
                                  std::vector<D>& table) {
                kernels.Of(curve).fill[ElementIndex<D>()](
                    curve, first, reinterpret_cast<std::uint8_t*>(&table[first]), last - first);
            };
            fill(plain, 0, count, expected);
            fill(vectors, 0, 3, actual);
            fill(vectors, 3, 130, actual);
            fill(vectors, 130, count, actual);
            ASSERT_EQ(std::memcmp(actual.data(), expected.data(), count * sizeof(D)), 0);
        }
}

} // namespace

TEST_P(NumericKernel, ComputesTheCurveToTheLastBit)
{
    const auto check = [this]<class D>(D) {
        SCOPED_TRACE(ElementIndex<D>());
        ExpectSameCurves<D>(vectors_, plain_, random_);
    };
    WithEveryType(check);
}

namespace {

/// Sources around those where the linear curve passes a whole number.
template <class S>
std::vector<S> SourcesAroundSteps(const ToneCurve::Constants& c, std::mt19937& random)
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
    return sources;
}

} // namespace

TEST_P(NumericKernel, ComputesBytesLikeTheCurveWhereTheyStep)
{
    std::uniform_real_distribution<double> contrasts(0.3, 6.0);
    std::uniform_real_distribution<double> brightnesses(-2.0, 0.7);
    const auto check = [&]<class S>(S) {
        const ToneParameters tone{contrasts(random_), brightnesses(random_), 1.0, 1.0};
        SCOPED_TRACE(testing::Message() << "contrast " << tone.contrast << ", brightness " << tone.brightness
                                        << ", source " << ElementIndex<S>());
        const ToneCurve curve(tone, value_range<S>.span, value_range<std::uint8_t>, ToneCurve::Bounds::exact);
        const std::vector<S> sources = SourcesAroundSteps<S>(curve.Values(), random_);
        std::vector<std::uint8_t> expected(sources.size());
        std::vector<std::uint8_t> actual(sources.size());
        for (const auto& [kernels, target] : {std::pair{&plain_, &expected}, {&vectors_, &actual}})
            kernels->linear.pairs[CurveKernels::SourceIndex<S>][ElementIndex<std::uint8_t>()](
                curve, reinterpret_cast<const std::uint8_t*>(sources.data()), target->data(), sources.size());
        ASSERT_EQ(actual, expected);
    };
    for (int i = 0; i < 400; ++i) {
        check(std::int32_t{});
        check(std::uint32_t{});
        check(float{});
    }
}

/// Without contrast and brightness a step of the curve is a whole number of units, so all of them can be
/// tried.
TEST_P(NumericKernel, ComputesTheFullRangeOfIntegersAtEveryStep)
{
    const auto check = [&]<class S, class D>(S, D) {
        SCOPED_TRACE(testing::Message() << ElementIndex<S>() << " to " << ElementIndex<D>());
        constexpr std::uint32_t steps = std::numeric_limits<D>::max();
        std::vector<S> sources;
        std::vector<D> expected;
        const auto expect = [&](std::uint32_t units, std::uint32_t value) {
            sources.push_back(static_cast<S>(units ^ (std::is_signed_v<S> ? 0x80000000u : 0)));
            expected.push_back(static_cast<D>(value));
        };
        expect(0, 0);
        for (std::uint32_t k = 1; k <= steps; ++k) {
            const std::uint32_t step = 0xFFFFFFFFu / steps * k;
            expect(step - 1, k - 1);
            expect(step, k);
        }
        const ToneCurve curve({}, value_range<S>.span, value_range<D>, ToneCurve::Bounds::exact);
        for (const Kernels* kernels : {&plain_, &vectors_}) {
            std::vector<D> actual(sources.size());
            kernels->linear.pairs[CurveKernels::SourceIndex<S>][ElementIndex<D>()](
                curve, reinterpret_cast<const std::uint8_t*>(sources.data()),
                reinterpret_cast<std::uint8_t*>(actual.data()), sources.size());
            ASSERT_EQ(actual, expected) << (kernels == &plain_ ? "plain" : "vectors");
        }
    };
    check(std::int32_t{}, std::uint8_t{});
    check(std::uint32_t{}, std::uint8_t{});
    check(std::int32_t{}, std::uint16_t{});
    check(std::uint32_t{}, std::uint16_t{});
}

TEST_P(NumericKernel, LeavesTheRoundingAsItWas)
{
    const volatile float one = 1.0f;
    const volatile float little = 1e-10f;
    const ToneCurve curve({}, value_range<float>.span, value_range<std::uint16_t>, ToneCurve::Bounds::exact);
    for (const std::size_t count : {std::size_t{10}, std::size_t{1000}, std::size_t{100000}}) {
        const std::vector<float> source(count, 0.5f);
        std::vector<std::uint16_t> target(count);
        vectors_.linear.pairs[CurveKernels::SourceIndex<float>][ElementIndex<std::uint16_t>()](
            curve, reinterpret_cast<const std::uint8_t*>(source.data()),
            reinterpret_cast<std::uint8_t*>(target.data()), count);
        EXPECT_EQ(target.back(), 32767);
        EXPECT_EQ(one - little, one) << count;
        EXPECT_EQ(one + little, one) << count;
    }
}

/// Large targets are written in another way, and the linear curve has several.
TEST_P(NumericKernel, ComputesTheLinearCurveOfLargeImages)
{
    const auto check = [this]<class S, class D>(S, D) {
        for (const double contrast : {1.0, 1.2}) {
            SCOPED_TRACE(testing::Message() << "contrast " << contrast << ", " << ElementIndex<S>() << " to "
                                            << ElementIndex<D>());
            const ToneCurve curve({contrast, 0.0, 1.0, 1.0}, value_range<S>.span, value_range<D>,
                                  ToneCurve::Bounds::exact);
            ExpectSamePixels(
                vectors_, plain_, sizeof(S), sizeof(D), false, random_,
                [&](const Kernels& kernels, const std::uint8_t* src, std::uint8_t* dst, std::size_t count) {
                    kernels.linear.pairs[CurveKernels::SourceIndex<S>][ElementIndex<D>()](curve, src, dst,
                                                                                          count);
                },
                {200003, largeTarget / sizeof(D) + 100});
        }
    };
    check(float{}, std::uint8_t{});
    check(float{}, std::uint16_t{});
    check(float{}, std::int16_t{});
    check(std::int32_t{}, std::uint8_t{});
    check(std::int32_t{}, float{});
    check(std::uint32_t{}, float{});
    check(std::uint32_t{}, double{});
    check(double{}, std::int8_t{});
}

TEST_P(NumericKernel, ComputesWhatATableOfAFieldHolds)
{
    const auto check = [this]<class D>(D) {
        const auto compute = vectors_.linear.ofField[ElementIndex<D>()];
        const auto lookup = plain_.lookup.from16[SizeIndex(sizeof(D))];
        ASSERT_NE(compute, nullptr);
        for (int bits = 9; bits <= 16; ++bits)
            for (const bool isSigned : {false, true})
                for (const ToneParameters& tone : tones) {
                    if (!tone.IsLinear())
                        continue;
                    SCOPED_TRACE(testing::Message() << bits << " bits, signed " << isSigned << ", contrast "
                                                    << tone.contrast << ", to " << ElementIndex<D>());
                    const std::size_t count = std::size_t{1} << bits;
                    const auto mask = static_cast<std::uint32_t>(count - 1);
                    const std::uint32_t sign = isSigned ? 1u << (bits - 1) : 0;
                    const ToneCurve curve(tone, mask, value_range<D>, ToneCurve::Bounds::whole);
                    std::vector<D> table(count);
                    for (std::size_t i = 0; i < count; ++i)
                        table[i ^ sign] = Quantise<D>(curve.Linear(static_cast<double>(i)));
                    // Every element, whatever is above the field, and some once more.
                    Bytes source(2 * (65536 + 77), random_() % 64, random_);
                    for (std::size_t i = 0; i < 65536; ++i) {
                        const auto element = static_cast<std::uint16_t>(i);
                        std::memcpy(source.Data() + 2 * i, &element, 2);
                    }
                    Bytes expected((65536 + 77) * sizeof(D), random_() % 64, random_);
                    Bytes actual = expected;
                    lookup(table.data(), mask, source.Data(), expected.Data(), 65536 + 77);
                    compute(curve, mask, sign, source.Data(), actual.Data(), 65536 + 77);
                    ASSERT_TRUE(actual == expected);
                }
    };
    WithEveryType(check);
}

namespace {

template <class S>
void ExpectSameCasts(const Kernels& vectors, const Kernels& plain, std::mt19937& random)
{
    const std::vector<S> sources = Sources<S>(random);
    const auto check = [&]<class D>(D) {
        SCOPED_TRACE(testing::Message() << ElementIndex<S>() << " to " << ElementIndex<D>());
        const auto run = [](const Kernels& kernels, const std::uint8_t* src, std::uint8_t* dst,
                            std::size_t count) {
            kernels.cast.cast[ElementIndex<S>()][ElementIndex<D>()](src, dst, count);
        };
        std::vector<D> expected(sources.size());
        std::vector<D> actual(sources.size());
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(sources.data());
        run(plain, bytes, reinterpret_cast<std::uint8_t*>(expected.data()), sources.size());
        run(vectors, bytes, reinterpret_cast<std::uint8_t*>(actual.data()), sources.size());
        for (std::size_t i = 0; i < sources.size(); ++i)
            // Which NaN it is stays open.
            ASSERT_TRUE(std::memcmp(&actual[i], &expected[i], sizeof(D)) == 0 ||
                        (actual[i] != actual[i] && expected[i] != expected[i]))
                << +sources[i] << " gave " << +actual[i] << " instead of " << +expected[i];
        if (std::is_integral_v<S>)
            ExpectSamePixels(vectors, plain, sizeof(S), sizeof(D), sizeof(D) <= sizeof(S), random, run,
                             {0, 1, 63, 64, 65, 127, 128, 1000});
        constexpr bool isToOrFromFloats = (std::is_same_v<S, float> && std::is_integral_v<D>) ||
                                          (std::is_integral_v<S> && std::is_same_v<D, float>);
        if (isToOrFromFloats)
            ExpectSamePixels(vectors, plain, sizeof(S), sizeof(D), sizeof(D) <= sizeof(S), random, run,
                             {200003, largeTarget / sizeof(D) + 100});
    };
    WithEveryType(check);
}

} // namespace

TEST_P(NumericKernel, CastsValuesAsTheLanguageDoes)
{
    WithEveryType([this]<class S>(S) { ExpectSameCasts<S>(vectors_, plain_, random_); });
}

TEST_P(NumericKernel, FillsTablesToTheLastBit)
{
    const auto check = [this]<class D>(D) {
        SCOPED_TRACE(ElementIndex<D>());
        ExpectSameFilling<D>(vectors_, plain_);
    };
    WithEveryType(check);
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(NumericKernel);
INSTANTIATE_TEST_SUITE_P(Levels, NumericKernel, testing::ValuesIn(VectorLevels()), LevelName);
