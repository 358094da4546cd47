#if defined(TAVLO_RECODE_LINEAR_CURVE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVLO_RECODE_LINEAR_CURVE_INL_H
#undef TAVLO_RECODE_LINEAR_CURVE_INL_H
#else
#define TAVLO_RECODE_LINEAR_CURVE_INL_H
#endif

#include "recode/curve/tone_curve.h"
#include "recode/kernels/curve_vectors-inl.h"

#include <type_traits>
#include <utility>

HWY_BEFORE_NAMESPACE();
namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE {
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3_DL

/// Where the linear curve takes its units from, a vector of doubles at a time: the pixels at an address...
template <class Source>
struct UnitsAt
{
    const Source& source;
    const std::uint8_t* at;

    HWY_INLINE Vector operator()(std::size_t i) const { return source.Units(at, i); }
};

/// ...or first, first + 1 and so on.
struct CountedUnits
{
    std::size_t first;

    HWY_INLINE Vector operator()(std::size_t i) const
    {
        return hn::Iota(doubles, static_cast<double>(first + i * doubleLanes));
    }
};

/// Target pixels of four or eight bytes, as many as a vector has, of what `values` gives for each vector of
/// units.
template <class D, class Values>
HWY_INLINE ByteVector Pixels(const Values& values)
{
    if constexpr (sizeof(D) == 8)
        return hn::BitCast(bytes, Quantised<D>(values(0)));
    else
        return hn::BitCast(
            bytes, hn::Combine(hn::ScalableTag<D>(), Quantised<D>(values(1)), Quantised<D>(values(0))));
}

/// The linear case: the operations of ToneCurve::Linear in its order.
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

    HWY_INLINE Vector Value(Vector units) const
    {
        const Vector y = hn::Add(hn::Mul(units, slope_), shift_);
        // Adding 0 would change the sign of 0, which integers do not show.
        return std::is_integral_v<D> && std::is_unsigned_v<D> ? y : hn::Add(y, min_);
    }

    Vector slope_;
    Vector shift_;
    Vector min_;
    Vector max_;
};

/// Converts all pixels, as many at a time as a target vector has: `convert` makes such a vector of what lies
/// at an address.
template <class Source, class D, class Convert>
HWY_INLINE void ConvertVectors(const std::uint8_t* src, std::uint8_t* dst, std::size_t count,
                               const Convert& convert)
{
    EachVectorTo<true, vectorBytes / sizeof(D), Source::size, sizeof(D)>(
        src, dst, count,
        [convert](const std::uint8_t* s, std::uint8_t* d, auto store) { store(convert(s), d); });
}

/// Each product alone is the value: nothing is added.
inline bool IsProduct(const ToneCurve::Constants& c)
{
    return c.shift == 0.0 && c.target.min == 0.0;
}

// Paths of the linear curve: what vector_linear.cpp chooses from. A path that is not there for a pair of
// types says so by `exists`; for others `Applies` tells whether it gives the curve's values for these
// constants.

struct NoPath
{
    static constexpr bool exists = false;
};

/// Every vector as LinearCurve has it.
template <class Source, class D>
class Computed
{
public:
    static constexpr bool exists = true;

    Computed(const ToneCurve::Constants& c, const Source& source, double) : linear_(c), source_(source) {}

    static bool Applies() { return true; }
    static bool IsLeftToAvx2(std::size_t) { return false; }

    HWY_INLINE ByteVector operator()(const std::uint8_t* src) const
    {
        return linear_(UnitsAt<Source>{source_, src});
    }

    void Run(const std::uint8_t* src, std::uint8_t* dst, std::size_t count) const
    {
        ConvertVectors<Source, D>(src, dst, count, *this);
    }

private:
    LinearCurve<D> linear_;
    Source source_;
};

template <class Source, class D>
class Multiplication : public NoPath
{
};

/// Integers to floats where y = slope * u, and no y is beyond the target's range. Computed from u + bias:
///   y = slope * (u + bias) - slope * bias
/// in one fused step. Both products are as long as need be and their difference, which is slope * u exactly,
/// is rounded once, as the plain product is.
template <class Source, class D>
requires(Source::isInteger&& std::is_floating_point_v<D>) class Multiplication<Source, D>
{
public:
    static constexpr bool exists = true;

    Multiplication(const ToneCurve::Constants& c, const Source& source, double span)
        : applies_(IsProduct(c) && c.slope > 0.0 && c.slope * span <= c.target.max),
          source_(source),
          slope_(hn::Set(doubles, c.slope)),
          productOfBias_(hn::Set(doubles, c.slope * Source::bias))
    {
    }

    bool Applies() const { return applies_; }
    static bool IsLeftToAvx2(std::size_t) { return Source::isConverted; }

    /// A line at a time. Floats are stored as they come, half a vector each.
    void Run(const std::uint8_t* src, std::uint8_t* dst, std::size_t count) const
    {
        EachVectorTo<true, pixelsPerLine, Source::size, sizeof(D)>(
            src, dst, count, [self = *this](const std::uint8_t* s, std::uint8_t* d, auto store) {
                self.StoreLine(s, d, store, std::make_index_sequence<pixelsPerLine / doubleLanes>());
            });
    }

private:
    static constexpr std::size_t pixelsPerLine = 2 * vectorBytes / sizeof(D);

    template <class StoreVector, std::size_t... i>
    HWY_INLINE void StoreLine(const std::uint8_t* src, std::uint8_t* dst, const StoreVector& store,
                              std::index_sequence<i...>) const
    {
        const hn::Vec<Few<D>> pixels[] = {Quantised<D>(Product(src, i))...};
        (store(pixels[i], dst + i * doubleLanes * sizeof(D)), ...);
    }

    HWY_INLINE Vector Product(const std::uint8_t* src, std::size_t i) const
    {
        return hn::MulSub(source_.BiasedUnits(src, i), slope_, productOfBias_);
    }

    bool applies_;
    Source source_;
    Vector slope_;
    Vector productOfBias_;
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

template <class Source, class D>
class TruncatedProduct : public NoPath
{
};

/// Floats to unsigned integers of 8 and 16 bits where y = slope * u and the slope has 24 bits at most, in
/// single precision:
/// 1. u has 24 bits, so slope * u has 48 and is exact in double precision: the curve gives its whole part.
/// 2. Rounded down to the 24 bits of a float, a product of 0 to 2^16 keeps its whole part, which is a float.
/// 3. A product below 0 stays there, and becomes 0 as the curve has it.
/// AVX-512's instructions say how they round. At AVX2 the thread is told.
template <class D>
requires(std::is_unsigned_v<D> && sizeof(D) <= 2) class TruncatedProduct<PixelSource<float>, D>
{
public:
    static constexpr bool exists = true;

    TruncatedProduct(const ToneCurve::Constants& c, const PixelSource<float>&, double)
        : applies_(IsProduct(c) && c.slope >= 1.0 && c.slope <= 65536.0 &&
                   static_cast<double>(static_cast<float>(c.slope)) == c.slope),
          slope_(hn::Set(floats, static_cast<float>(c.slope))),
          // Half a unit above the largest value, which is far more than this is rounded by.
          last_(hn::Set(floats, static_cast<float>((c.target.max + 0.5) / c.slope)))
    {
    }

    bool Applies() const { return applies_; }
    static bool IsLeftToAvx2(std::size_t count) { return count >= farBytes / sizeof(D); }

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

#if HWY_TARGET <= HWY_AVX3_DL
    void Run(const std::uint8_t* src, std::uint8_t* dst, std::size_t count) const
    {
        ConvertVectors<PixelSource<float>, D>(src, dst, count, *this);
    }
#else
    void Run(const std::uint8_t* src, std::uint8_t* dst, std::size_t count) const
    {
        const RoundingDown roundingDown;
        ForEachVector(src, dst, count);
    }

private:
    HWY_NOINLINE void ForEachVector(const std::uint8_t* src, std::uint8_t* dst, std::size_t count) const
    {
        ConvertVectors<PixelSource<float>, D>(src, dst, count, *this);
    }
#endif

private:
    bool applies_;
    FloatVector slope_;
    FloatVector last_;
};

#endif
} // namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
