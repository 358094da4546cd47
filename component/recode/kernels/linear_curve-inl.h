#if defined(TAVLO_RECODE_LINEAR_CURVE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVLO_RECODE_LINEAR_CURVE_INL_H
#undef TAVLO_RECODE_LINEAR_CURVE_INL_H
#else
#define TAVLO_RECODE_LINEAR_CURVE_INL_H
#endif

#include "recode/curve/tone_curve.h"
#include "recode/kernels/fixed_point-inl.h"
#include "recode/kernels/full_range-inl.h"
#include "recode/kernels/plain_loops.h"
#include "recode/kernels/vector_kernels.h"

#include <cmath>
#include <limits>
#include <utility>

HWY_BEFORE_NAMESPACE();
namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE {
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3_DL

/// Where the linear curve takes its source units from, a vector of doubles at a time.
template <class Source>
struct UnitsAt
{
    const Source& source;
    const std::uint8_t* at;

    HWY_INLINE Vector operator()(std::size_t i) const { return source.Units(at, i); }
};

/// first, first + 1 and so on.
struct CountedUnits
{
    std::size_t first;

    HWY_INLINE Vector operator()(std::size_t i) const
    {
        return hn::Iota(doubles, static_cast<double>(first + i * lanes));
    }
};

/// Target pixels, as many as a vector has, of what `values` gives for each vector of source units.
template <class D, class Values>
HWY_INLINE ByteVector Pixels(const Values& values)
{
    if constexpr (sizeof(D) == 8)
        return hn::BitCast(bytes, Quantised<D>(values(0)));
    else
        return hn::BitCast(
            bytes, hn::Combine(hn::ScalableTag<D>(), Quantised<D>(values(1)), Quantised<D>(values(0))));
}

/// The linear case: the same operations in the same order as ToneCurve::Linear.
template <class D>
class LinearCurve
{
public:
    explicit LinearCurve(const ToneCurve::Constants& c)
        : slope_(hn::Set(doubles, c.slope)),
          shift_(hn::Set(doubles, c.shift)),
          min_(hn::Set(doubles, c.target.min)),
          max_(hn::Set(doubles, c.target.max))
    {
    }

    /// As many target pixels as a vector has.
    template <class Units>
    HWY_INLINE ByteVector operator()(const Units& units) const
    {
        if constexpr (sizeof(D) <= 2)
            return Small(units, std::make_index_sequence<4 / sizeof(D)>());
        else
            return Pixels<D>(InRange<Units>{*this, units});
    }

private:
    template <class Units, std::size_t... i>
    HWY_INLINE ByteVector Small(const Units& units, std::index_sequence<i...>) const
    {
        return Narrowed<D>(Whole(units(2 * i), units(2 * i + 1))...);
    }

    /// What is NaN stays so, and like everything too small becomes the smallest integer.
    HWY_INLINE Integers Whole(Vector first, Vector second) const
    {
        return ToIntegers(hn::Min(max_, Value(first)), hn::Min(max_, Value(second)));
    }

    template <class Units>
    struct InRange
    {
        const LinearCurve& curve;
        const Units& units;

        HWY_INLINE Vector operator()(std::size_t i) const
        {
            return Saturated(curve.Value(units(i)), curve.min_, curve.max_);
        }
    };

    HWY_INLINE Vector Value(Vector source) const
    {
        const Vector y = hn::Add(hn::Mul(source, slope_), shift_);
        // Adding 0 would change the sign of 0, which integers do not show.
        return std::is_integral_v<D> && std::is_unsigned_v<D> ? y : hn::Add(y, min_);
    }

    Vector slope_;
    Vector shift_;
    Vector min_;
    Vector max_;
};

/// The linear curve from integers to floats where it is a multiplication: nothing is added, and no product
/// is beyond the target's range.
template <class Source, class D>
class Multiplication
{
public:
    Multiplication(const ToneCurve::Constants& c, const Source& source, double sourceSpan)
        : applies_(c.shift == 0.0 && c.target.min == 0.0 && c.slope > 0.0 &&
                   c.slope * sourceSpan <= c.target.max),
          source_(source),
          slope_(hn::Set(doubles, c.slope)),
          ofNearby_(hn::Set(doubles, c.slope * Source::nearby))
    {
    }

    bool Applies() const { return applies_; }

    static constexpr std::size_t together = 2 * step / sizeof(D);

    /// A line's worth of pixels. Floats are stored as they come, half a vector each.
    template <class StoreVector>
    HWY_INLINE void operator()(const std::uint8_t* src, std::uint8_t* dst, const StoreVector& store) const
    {
        Store(src, dst, store, std::make_index_sequence<together / lanes>());
    }

private:
    template <class StoreVector, std::size_t... i>
    HWY_INLINE void Store(const std::uint8_t* src, std::uint8_t* dst, const StoreVector& store,
                          std::index_sequence<i...>) const
    {
        const hn::Vec<Few<D>> pixels[] = {Quantised<D>(Product(src, i))...};
        (store(pixels[i], dst + i * lanes * sizeof(D)), ...);
    }

    /// Both products are as long as need be, their difference is that of the units, and is rounded once.
    HWY_INLINE Vector Product(const std::uint8_t* src, std::size_t i) const
    {
        return hn::MulSub(source_.NearbyUnits(src, i), slope_, ofNearby_);
    }

    bool applies_;
    Source source_;
    Vector slope_;
    Vector ofNearby_;
};

/// Computing is rounded toward negative infinity as long as this lives. What is computed then belongs into a
/// function that is not expanded there, for the compiler does not know of it.
class RoundingDown
{
public:
    RoundingDown() : before_(_mm_getcsr()) { _mm_setcsr((before_ & ~_MM_ROUND_MASK) | _MM_ROUND_DOWN); }
    ~RoundingDown() { _mm_setcsr(before_); }
    RoundingDown(const RoundingDown&) = delete;
    RoundingDown& operator=(const RoundingDown&) = delete;

private:
    unsigned before_;
};

/// The linear curve from floats to unsigned integers of 8 and 16 bits where it is a multiplication by a
/// number of at most 24 bits. Then a product has no more bits than a double, and single precision is
/// enough to truncate it if it is rounded down. At the level whose instructions do not say how they round,
/// the caller sees to it that it is down.
template <class D>
class TruncatedProduct
{
public:
    explicit TruncatedProduct(const ToneCurve::Constants& c)
        : applies_(c.shift == 0.0 && c.target.min == 0.0 && c.slope >= 1.0 && c.slope <= 65536.0 &&
                   static_cast<double>(static_cast<float>(c.slope)) == c.slope),
          slope_(hn::Set(floats, static_cast<float>(c.slope))),
          // Half a unit above the largest value, which is far more than this is rounded by.
          last_(hn::Set(floats, static_cast<float>((c.target.max + 0.5) / c.slope)))
    {
    }

    bool Applies() const { return applies_; }

    HWY_INLINE ByteVector operator()(const std::uint8_t* src) const { return NarrowedPixels<D>(*this, src); }

    HWY_INLINE Integers Whole(const std::uint8_t* src, std::size_t i) const
    {
        // The processor's minimum gives its second operand where one is NaN, and that becomes the smallest
        // integer.
        const FloatVector source = hn::Min(last_, PixelSource<float>().Floats(src, i));
#if HWY_TARGET <= HWY_AVX3_DL
        return ToIntegers(FloatVector{
            _mm512_mul_round_ps(source.raw, slope_.raw, _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC)});
#else
        return ToIntegers(hn::Mul(source, slope_));
#endif
    }

private:
    bool applies_;
    FloatVector slope_;
    FloatVector last_;
};

/// Computes every pixel of a source by the curve.
template <class D, class Source>
class LinearRun
{
public:
    /// The source's units go from 0 to `span`. `atAvx2` does the same at that level.
    template <class AtAvx2>
    static void Run(const ToneCurve& curve, const Source& source, double span, const std::uint8_t* src,
                    std::uint8_t* dst, std::size_t count, const AtAvx2& atAvx2)
    {
        const ToneCurve::Constants& c = curve.Values();
        if constexpr (Source::isInteger && std::is_floating_point_v<D>) {
            const Multiplication<Source, D> product(c, source, span);
            if (product.Applies())
                return step == 64 && Source::isConverted ? atAvx2() : EachLine(src, dst, count, product);
        }
        const bool isLeftToAvx2 = step == 64 && count >= farBytes / sizeof(D);
        if constexpr (FullRange<Source, D>::exists)
            if (FullRange<Source, D>::Applies(c))
                return isLeftToAvx2 ? atAvx2() : Each(src, dst, count, FullRange<Source, D>());
        if constexpr (std::is_same_v<Source, PixelSource<float>> && std::is_unsigned_v<D> && sizeof(D) <= 2) {
            const TruncatedProduct<D> product(c);
            if (product.Applies())
                return isLeftToAvx2 ? atAvx2() : EachRoundedDown(src, dst, count, product);
        }
        const LinearCurve<D> linear(c);
        if constexpr (std::is_same_v<D, std::uint8_t> && !std::is_same_v<Source, PixelSource<double>>) {
            const FixedPointCurve<Source> fast(c, source);
            if (fast.IsExactEnough())
                return Each(src, dst, count, Checked{fast, {linear, source}});
        }
        Each(src, dst, count, Direct{linear, source});
    }

private:
    struct Direct
    {
        LinearCurve<D> linear;
        Source source;

        HWY_INLINE ByteVector operator()(const std::uint8_t* src) const
        {
            return linear(UnitsAt<Source>{source, src});
        }
    };

    struct Checked
    {
        FixedPointCurve<Source> fast;
        Direct exact;

        HWY_INLINE ByteVector operator()(const std::uint8_t* src) const
        {
            bool isDoubtful;
            ByteVector pixels = fast(src, isDoubtful);
            if (HWY_UNLIKELY(isDoubtful))
                pixels = exact(src);
            return pixels;
        }
    };

#if HWY_TARGET <= HWY_AVX3_DL
    static void EachRoundedDown(const std::uint8_t* src, std::uint8_t* dst, std::size_t count,
                                const TruncatedProduct<D>& product)
    {
        Each(src, dst, count, product);
    }
#else
    static void EachRoundedDown(const std::uint8_t* src, std::uint8_t* dst, std::size_t count,
                                const TruncatedProduct<D>& product)
    {
        const RoundingDown roundingDown;
        EachNow(src, dst, count, product);
    }

    static HWY_NOINLINE void EachNow(const std::uint8_t* src, std::uint8_t* dst, std::size_t count,
                                     const TruncatedProduct<D>& product)
    {
        Each(src, dst, count, product);
    }
#endif

    template <class Convert>
    static HWY_INLINE void Each(const std::uint8_t* src, std::uint8_t* dst, std::size_t count,
                                const Convert& convert)
    {
        EachVectorTo<true, step / sizeof(D), Source::size, sizeof(D)>(
            src, dst, count,
            [convert](const std::uint8_t* s, std::uint8_t* d, auto store) { store(convert(s), d); });
    }

    static HWY_INLINE void EachLine(const std::uint8_t* src, std::uint8_t* dst, std::size_t count,
                                    const Multiplication<Source, D>& product)
    {
        EachVectorTo<true, Multiplication<Source, D>::together, Source::size, sizeof(D)>(
            src, dst, count,
            [product](const std::uint8_t* s, std::uint8_t* d, auto store) { product(s, d, store); });
    }
};

template <class S, class D>
struct Linear
{
    static void Run(const ToneCurve& curve, const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
    {
        LinearRun<D, PixelSource<S>>::Run(curve, {}, value_range<S>.span, src, dst, count, [&] {
            avx2Curve.linear[CurveKernels::SourceIndex<S>][ElementIndex<D>()](curve, src, dst, count);
        });
    }
};

template <class D>
struct LinearOfField
{
    static void Run(const ToneCurve& curve, std::uint32_t mask, std::uint32_t sign, const std::uint8_t* src,
                    std::uint8_t* dst, std::size_t count)
    {
        LinearRun<D, FieldSource>::Run(curve, {mask, sign}, mask, src, dst, count, [&] {
            avx2Curve.linearOfField[ElementIndex<D>()](curve, mask, sign, src, dst, count);
        });
    }
};

template <class D>
struct FillLinear
{
    static void Run(const ToneCurve& curve, std::size_t first, std::uint8_t* dst, std::size_t count)
    {
        const LinearCurve<D> linear(curve.Values());
        constexpr std::size_t together = step / sizeof(D);
        std::size_t i = 0;
        for (; i + together <= count; i += together)
            hn::StoreU(linear(CountedUnits{first + i}), bytes, dst + sizeof(D) * i);
        Plain::FillLinear<D>::Run(curve, first + i, dst + sizeof(D) * i, count - i);
    }
};

#endif
} // namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
