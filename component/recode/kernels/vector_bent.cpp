#include "recode/kernels/kernel_tables.h"
#include "recode/kernels/plain_loops.h"
#include "recode/kernels/vector_kernels.h"

#include <algorithm>
#include <cmath>
#include <limits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "recode/kernels/vector_bent.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "recode/kernels/curve_vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE {
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3_DL

// The bent case by powers with a known error: 1.3 to 2.3 times the plain loop's speed at AVX2 and 3.7 to 4.4
// times at AVX-512 ("fill 16 to 8, powers"; "float to 8, gamma and sigma").
// 1. y' is what vectors compute for ToneCurve::Bent's y, e a bound of |y' - y|.
// 2. Where y' - e and y' + e are stored alike, that is what y is stored as.
// 3. Elsewhere ToneCurve::Bent itself is asked: see Decide.

/// 2^-41: what Power's result may be off by, relative to it, and the standard library's from the truth.
constexpr double powerError = 4.5e-13;
/// Exponents of two beyond this are not computed.
constexpr double largestExponent = 64.0;

/// log2 of positive normal numbers, off by less than 2^-49 of itself.
HWY_INLINE Vector Log2(Vector x)
{
    const hn::RebindToSigned<Doubles> integers;
    // The mantissa from the square root of 1/2 up to that of 2.
    const auto bits = hn::BitCast(integers, x);
    const auto offset = hn::Sub(bits, hn::Set(integers, 0x3FE6A09E667F3BCDll));
    const auto mantissaBits = hn::Add(hn::And(offset, hn::Set(integers, 0x000FFFFFFFFFFFFFll)),
                                      hn::Set(integers, 0x3FE6A09E667F3BCDll));
    const Vector mantissa = hn::BitCast(doubles, mantissaBits);
    // The exponent as a double: its integer stands in the low bits of 1.5 * 2^52.
    const Vector big = hn::Set(doubles, 6755399441055744.0);
    const auto exponentBits = hn::ShiftRight<52>(offset);
    const Vector exponent =
        hn::Sub(hn::BitCast(doubles, hn::Add(exponentBits, hn::BitCast(integers, big))), big);

    // log2(m) = 2 / ln 2 * artanh(s), s = (m - 1) / (m + 1), |s| < 0.172.
    const Vector one = hn::Set(doubles, 1.0);
    const Vector s = hn::Div(hn::Sub(mantissa, one), hn::Add(mantissa, one));
    const Vector s2 = hn::Mul(s, s);
    Vector series = hn::Set(doubles, 1.0 / 21);
    for (const double coefficient :
         {1.0 / 19, 1.0 / 17, 1.0 / 15, 1.0 / 13, 1.0 / 11, 1.0 / 9, 1.0 / 7, 1.0 / 5, 1.0 / 3, 1.0})
        series = hn::MulAdd(series, s2, hn::Set(doubles, coefficient));
    return hn::MulAdd(hn::Mul(s, series), hn::Set(doubles, 2.8853900817779268147), exponent);
}

/// 2^p for p within the largest exponent.
HWY_INLINE Vector Exp2(Vector p)
{
    const hn::RebindToSigned<Doubles> integers;
    const Vector big = hn::Set(doubles, 6755399441055744.0);
    const Vector shifted = hn::Add(p, big); // rounds to a whole number in the low bits
    const Vector f = hn::Mul(hn::Sub(p, hn::Sub(shifted, big)), hn::Set(doubles, 0.69314718055994530942));
    Vector series = hn::Set(doubles, 1.0 / 6227020800.0);
    for (const double coefficient :
         {1.0 / 479001600.0, 1.0 / 39916800.0, 1.0 / 3628800.0, 1.0 / 362880.0, 1.0 / 40320.0, 1.0 / 5040.0,
          1.0 / 720.0, 1.0 / 120.0, 1.0 / 24.0, 1.0 / 6.0, 1.0 / 2.0, 1.0, 1.0})
        series = hn::MulAdd(series, f, hn::Set(doubles, coefficient));
    const auto scale = hn::ShiftLeft<52>(hn::BitCast(integers, shifted));
    return hn::BitCast(doubles, hn::Add(hn::BitCast(integers, series), scale));
}

/// x to a positive power, for x from 0 to about 1, or 0 and a note where the result is not known. That of 0
/// is exact, and so is the power 1.
HWY_INLINE Vector Power(Vector x, double power, Mask& isUnknown)
{
    if (power == 1.0)
        return x;
    const Mask isTiny = hn::Lt(x, hn::Set(doubles, 1e-300));
    const Vector p = hn::Mul(Log2(hn::IfThenElse(isTiny, hn::Set(doubles, 1.0), x)), hn::Set(doubles, power));
    const Mask isUncomputed = hn::Or(hn::And(isTiny, hn::Ne(x, hn::Zero(doubles))),
                                     hn::Gt(hn::Abs(p), hn::Set(doubles, largestExponent)));
    isUnknown = hn::Or(isUnknown, isUncomputed);
    return hn::IfThenZeroElse(hn::Or(isTiny, isUncomputed), Exp2(p));
}

/// How many pixels are computed at a time. What computes does not know the types of pixels; it is compiled
/// once a level.
constexpr std::size_t stretch = 64;
static_assert(stretch % (2 * doubleLanes) == 0);

/// What the values of a stretch are about: numbers in the target's range, and what the values are at least
/// and at most.
struct Estimates
{
    HWY_ALIGN double about[stretch];
    HWY_ALIGN double least[stretch];
    HWY_ALIGN double most[stretch];
};

class BentCurve
{
public:
    explicit BentCurve(const ToneCurve& curve)
        : curve_(curve), c_(curve.Values()), error_((c_.gamma + 2.0) * powerError)
    {
    }

    /// Whether the bounds of the error hold.
    bool IsWithinBounds() const
    {
        const auto isModerate = [](double power) { return power > 0.0 && power <= 256.0; };
        return isModerate(c_.gamma) && isModerate(c_.sigma) && std::isfinite(c_.low) &&
               std::isfinite(c_.high) && c_.width > 0.0 && std::isfinite(2.0 / c_.width);
    }

    /// Stores the values of up to a stretch of units as the target's type. There are units for whole vectors.
    template <class D>
    HWY_NOINLINE void Store(const double* units, std::size_t count, std::uint8_t* dst) const
    {
        Estimates estimates;
        Estimate(units, count, estimates);
        HWY_ALIGN std::uint8_t pixels[stretch * sizeof(D)];
        for (std::size_t i = 0; i < count; i += 2 * doubleLanes)
            StoreQuantised<D>(hn::Load(doubles, estimates.about + i),
                              hn::Load(doubles, estimates.about + i + doubleLanes), pixels + sizeof(D) * i);
        for (std::size_t i = 0; i < count; i += doubleLanes) {
            const Mask doubtful = AreStoredOtherwise<D>(hn::Load(doubles, estimates.least + i),
                                                        hn::Load(doubles, estimates.most + i));
            if (HWY_UNLIKELY(!hn::AllFalse(doubles, doubtful)))
                Decide<D>(units + i, doubtful, pixels + sizeof(D) * i);
        }
        std::memcpy(dst, pixels, sizeof(D) * count);
    }

private:
    HWY_NOINLINE void Estimate(const double* units, std::size_t count, Estimates& estimates) const
    {
        for (std::size_t i = 0; i < count; i += 2 * doubleLanes) {
            EstimateVector(units + i, i, estimates);
            EstimateVector(units + i + doubleLanes, i + doubleLanes, estimates);
        }
    }

    HWY_INLINE void EstimateVector(const double* units, std::size_t at, Estimates& estimates) const
    {
        const Vector source = hn::Load(doubles, units);
        const Vector low = hn::Set(doubles, c_.low);
        const Vector high = hn::Set(doubles, c_.high);
        const Vector min = hn::Set(doubles, c_.target.min);
        const Vector max = hn::Set(doubles, c_.target.max);
        const Mask above = hn::Ge(source, high);
        const Mask between = hn::AndNot(above, hn::Ge(source, low)); // NaN is not between
        const Mask lower = hn::Lt(source, hn::Set(doubles, c_.middle));

        const Vector distance = hn::IfThenElse(lower, hn::Sub(source, low), hn::Sub(high, source));
        const Vector base = hn::IfThenElse(between, hn::Mul(hn::Set(doubles, 2.0 / c_.width), distance),
                                           hn::Set(doubles, 1.0));
        Mask isUnknown = hn::MaskFromVec(hn::Zero(doubles));
        const Vector half = hn::Mul(hn::Set(doubles, 0.5), Power(base, c_.sigma, isUnknown));
        const Vector t = hn::IfThenElse(lower, half, hn::Sub(hn::Set(doubles, 1.0), half));
        const Vector risen = hn::Mul(hn::Set(doubles, c_.target.span), Power(t, c_.gamma, isUnknown));
        const Vector y = hn::Add(min, risen);

        // Adding the lower end rounds, but not where nothing is added to it. What is unknown may be anything.
        const Vector rounding = hn::IfThenZeroElse(hn::Eq(risen, hn::Zero(doubles)),
                                                   hn::Set(doubles, std::abs(c_.target.min) * powerError));
        const Vector known = hn::MulAdd(risen, hn::Set(doubles, error_), rounding);
        const Vector error =
            hn::IfThenElse(isUnknown, hn::Set(doubles, std::numeric_limits<double>::infinity()), known);
        const Vector end = hn::IfThenElse(above, max, min);
        hn::Store(hn::IfThenElse(between, Saturated(y, min, max), end), doubles, estimates.about + at);
        hn::Store(hn::IfThenElse(between, hn::Sub(y, error), end), doubles, estimates.least + at);
        hn::Store(hn::IfThenElse(between, hn::Add(y, error), end), doubles, estimates.most + at);
    }

    /// Values in the target's range, as the target's type: two vectors of them.
    template <class D>
    static HWY_INLINE void StoreQuantised(Vector first, Vector second, std::uint8_t* at)
    {
        if constexpr (sizeof(D) <= 2) {
            const Integers both = ToIntegers(first, second);
#if HWY_TARGET <= HWY_AVX3_DL
            // Highway has no such conversion for either sign; the values fit, so their low bytes are they.
            const auto narrow = [both] {
                if constexpr (sizeof(D) == 1)
                    return _mm512_cvtepi32_epi8(both.raw);
                else
                    return _mm512_cvtepi32_epi16(both.raw);
            }();
            std::memcpy(at, &narrow, sizeof narrow);
#else
            const hn::Rebind<D, hn::ScalableTag<std::int32_t>> small;
            hn::StoreU(hn::DemoteTo(small, both), small, As<D>(at));
#endif
        } else {
            hn::StoreU(Quantised<D>(first), Few<D>(), As<D>(at));
            hn::StoreU(Quantised<D>(second), Few<D>(), As<D>(at) + doubleLanes);
        }
    }

    template <class D>
    static HWY_INLINE Mask AreStoredOtherwise(Vector a, Vector b)
    {
        if constexpr (std::is_same_v<D, float>) {
            const Few<float> few;
            return hn::Ne(hn::PromoteTo(doubles, hn::DemoteTo(few, a)),
                          hn::PromoteTo(doubles, hn::DemoteTo(few, b)));
        } else {
            return hn::Ne(hn::Trunc(a), hn::Trunc(b));
        }
    }

    template <class D>
    HWY_NOINLINE void Decide(const double* units, Mask doubtful, std::uint8_t* at) const
    {
        HWY_ALIGN double flags[doubleLanes];
        hn::Store(hn::IfThenElseZero(doubtful, hn::Set(doubles, 1.0)), doubles, flags);
        for (std::size_t i = 0; i < doubleLanes; ++i)
            if (flags[i] != 0.0)
                StorePixel(at + sizeof(D) * i, Quantise<D>(curve_.Bent(units[i])));
    }

    const ToneCurve& curve_;
    ToneCurve::Constants c_;
    double error_;
};

/// Doubles show every bit of a power, so they are left to the plain curve.
template <class D>
constexpr bool showsEveryBit = std::is_same_v<D, double>;

/// Units of a stretch of pixels; for whole vectors, of which some may lie behind the last pixel.
template <class S>
HWY_NOINLINE void StageUnits(const std::uint8_t* src, std::size_t count, double* units)
{
    HWY_ALIGN std::uint8_t pixels[stretch * sizeof(S)] = {};
    std::memcpy(pixels, src, sizeof(S) * count);
    for (std::size_t i = 0; i < stretch; i += doubleLanes)
        hn::Store(LoadUnits<S>(pixels + sizeof(S) * i), doubles, units + i);
}

template <class S, class D>
struct Bent
{
    static void Run(const ToneCurve& curve, const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
    {
        const BentCurve bent(curve);
        if (showsEveryBit<D> || !bent.IsWithinBounds())
            return Plain::Bent<S, D>::Run(curve, src, dst, count);
        if constexpr (!showsEveryBit<D>)
            for (std::size_t done = 0; done < count; done += stretch) {
                const std::size_t now = std::min(stretch, count - done);
                HWY_ALIGN double units[stretch];
                StageUnits<S>(src + sizeof(S) * done, now, units);
                bent.Store<D>(units, now, dst + sizeof(D) * done);
            }
    }
};

template <class D>
struct FillBent
{
    static void Run(const ToneCurve& curve, std::size_t first, std::uint8_t* dst, std::size_t count)
    {
        const BentCurve bent(curve);
        if (showsEveryBit<D> || !bent.IsWithinBounds())
            return Plain::FillBent<D>::Run(curve, first, dst, count);
        if constexpr (!showsEveryBit<D>)
            for (std::size_t done = 0; done < count; done += stretch) {
                HWY_ALIGN double units[stretch];
                for (std::size_t i = 0; i < stretch; i += doubleLanes)
                    hn::Store(hn::Iota(doubles, static_cast<double>(first + done + i)), doubles, units + i);
                bent.Store<D>(units, std::min(stretch, count - done), dst + sizeof(D) * done);
            }
    }
};

constexpr CurveKernels bentKernels{
    .pairs = EveryPair<Bent>(), .ofField = {}, .fill = EveryTarget<FillBent>()};

#endif
} // namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Mardu::Sentel::Tavlo {

const CurveKernels avx2Bent = N_AVX2::bentKernels;
const CurveKernels avx512Bent = N_AVX3_DL::bentKernels;

} // namespace Mardu::Sentel::Tavlo
#endif
