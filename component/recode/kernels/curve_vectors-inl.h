#if defined(TAVLO_RECODE_CURVE_VECTORS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVLO_RECODE_CURVE_VECTORS_INL_H
#undef TAVLO_RECODE_CURVE_VECTORS_INL_H
#else
#define TAVLO_RECODE_CURVE_VECTORS_INL_H
#endif

#include "recode/kernels/vector_rows-inl.h"

#include <limits>
#include <type_traits>

HWY_BEFORE_NAMESPACE();
namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE {
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3_DL

// What the curve's loops are made of. A source's units u are its values counted from the smallest one, 0 to
// its span, as docs/recoding.md has them under "The tone curve".

using Doubles = hn::ScalableTag<double>;
using Vector = hn::Vec<Doubles>;
using Mask = hn::Mask<Doubles>;

constexpr Doubles doubles;
/// Doubles in a vector.
constexpr std::size_t doubleLanes = hn::MaxLanes(doubles);

constexpr double twoTo31 = 2147483648.0;

/// As many values of a type as there are doubles in a vector.
template <class T>
using Few = hn::Rebind<T, Doubles>;

/// Units, exactly. Of integers v, whose sign bit ^ turns over:
///   signed:   u = v + 2^31 = (v ^ 2^31) taken as unsigned
///   unsigned: u = v        = (v ^ 2^31) taken as signed, + 2^31
template <class S>
HWY_INLINE Vector LoadUnits(const std::uint8_t* at)
{
    if constexpr (std::is_same_v<S, double>) {
        return hn::LoadU(doubles, As<double>(at));
    } else if constexpr (std::is_same_v<S, float>) {
        return hn::PromoteTo(doubles, hn::LoadU(Few<float>(), As<float>(at)));
    } else {
        const Few<std::int32_t> few;
        const auto value = hn::LoadU(few, As<std::int32_t>(at));
        const auto turned = hn::Xor(value, hn::Set(few, std::numeric_limits<std::int32_t>::min()));
#if HWY_TARGET <= HWY_AVX3_DL
        return Vector{_mm512_cvtepu32_pd(std::is_signed_v<S> ? turned.raw : value.raw)};
#else
        return hn::Add(hn::PromoteTo(doubles, std::is_signed_v<S> ? value : turned),
                       hn::Set(doubles, twoTo31));
#endif
    }
}

constexpr double twoTo52 = 0x1p52;

/// 2^52 + value, without a conversion: the lower 32 bits of the double 2^52 are 0, and its last bit stands
/// for 1, so that the value's bits in their place add the value.
HWY_INLINE Vector AboveTwoTo52(hn::Vec<Few<std::uint32_t>> value)
{
    const hn::RebindToUnsigned<Doubles> longs;
    return hn::BitCast(doubles,
                       hn::Or(hn::PromoteTo(longs, value), hn::BitCast(longs, hn::Set(doubles, twoTo52))));
}

/// Values that fit, truncated; Highway's own conversion takes care of larger ones too, and longer.
HWY_INLINE hn::Vec<Few<std::int32_t>> ToIntegers(Vector y)
{
#if HWY_TARGET <= HWY_AVX3_DL
    return hn::Vec<Few<std::int32_t>>{_mm512_cvttpd_epi32(y.raw)};
#else
    return hn::Vec<Few<std::int32_t>>{_mm256_cvttpd_epi32(y.raw)};
#endif
}

constexpr hn::ScalableTag<float> floats;
constexpr hn::ScalableTag<std::int32_t> int32s;

using FloatVector = hn::Vec<decltype(floats)>;
/// As many integers as two vectors of doubles give.
using Integers = hn::Vec<decltype(int32s)>;

/// Truncated; what does not fit becomes the smallest integer.
HWY_INLINE Integers ToIntegers(FloatVector v)
{
#if HWY_TARGET <= HWY_AVX3_DL
    return Integers{_mm512_cvttps_epi32(v.raw)};
#else
    return Integers{_mm256_cvttps_epi32(v.raw)};
#endif
}

/// Signed values as they are, unsigned ones minus 2^31: what fits a signed integer.
template <class S, class D>
HWY_INLINE hn::Vec<D> SignedValue(D tag, hn::Vec<D> value)
{
    if constexpr (std::is_signed_v<S>)
        return value;
    else
        return hn::Xor(value, hn::Set(tag, std::numeric_limits<std::int32_t>::min()));
}

/// Pixels of a type as sources of the curve.
template <class S>
struct PixelSource
{
    static constexpr std::size_t size = sizeof(S);
    static constexpr bool isInteger = std::is_integral_v<S>;
    /// Units where `Floats` has 0.
    static constexpr double unitsAtZero = std::is_integral_v<S> ? twoTo31 : 0.0;
    /// Whether `Floats` has every value exactly.
    static constexpr bool isExact = std::is_same_v<S, float>;

    /// Vector `i` of u from an address on.
    HWY_INLINE Vector Units(const std::uint8_t* at, std::size_t i) const
    {
        return LoadUnits<S>(at + i * doubleLanes * size);
    }

    /// Of integers: whether `BiasedUnits` takes a conversion. Vectors of 32 bytes are then 10 to 25 % faster
    /// than those of 64.
    static constexpr bool isConverted = std::is_signed_v<S>;

    /// Of integers: vector `i` of u + bias, where the bias is what makes that cheapest. A signed value is
    /// u - 2^31 already.
    static constexpr double bias = isConverted ? -twoTo31 : twoTo52;

    HWY_INLINE Vector BiasedUnits(const std::uint8_t* at, std::size_t i) const
    {
        at += i * doubleLanes * size;
        if constexpr (isConverted)
            return hn::PromoteTo(doubles, hn::LoadU(Few<std::int32_t>(), As<std::int32_t>(at)));
        else
            return AboveTwoTo52(hn::LoadU(Few<std::uint32_t>(), As<std::uint32_t>(at)));
    }

    /// Of integers: vector `i` of those that vectors of floats are made of.
    HWY_INLINE Integers Whole(const std::uint8_t* at, std::size_t i) const
    {
        return hn::LoadU(int32s, As<std::int32_t>(at + i * hn::MaxLanes(int32s) * size));
    }

    /// Of types of 32 bits: vector `i` of u - unitsAtZero, rounded to the nearest float.
    HWY_INLINE FloatVector Floats(const std::uint8_t* at, std::size_t i) const
    {
        if constexpr (std::is_same_v<S, float>)
            return hn::LoadU(floats, As<float>(at + i * hn::MaxLanes(floats) * size));
        else
            return hn::ConvertTo(floats, SignedValue<S>(int32s, Whole(at, i)));
    }
};

/// Fields of 16-bit elements as sources of the curve, with the members of PixelSource. u is what
/// sample_field::Index gives.
class FieldSource
{
public:
    static constexpr std::size_t size = 2;
    static constexpr bool isInteger = true;
    static constexpr double unitsAtZero = 0.0;
    static constexpr bool isExact = true;

    FieldSource(std::uint32_t mask, std::uint32_t sign)
        : mask_(hn::Set(words, static_cast<std::uint16_t>(mask))),
          sign_(hn::Set(words, static_cast<std::uint16_t>(sign)))
    {
    }

    HWY_INLINE Vector Units(const std::uint8_t* at, std::size_t i) const
    {
        return hn::PromoteTo(doubles, hn::PromoteTo(Few<std::int32_t>(), Positions(at, i)));
    }

    static constexpr bool isConverted = false;
    static constexpr double bias = twoTo52;

    HWY_INLINE Vector BiasedUnits(const std::uint8_t* at, std::size_t i) const
    {
        return AboveTwoTo52(hn::PromoteTo(Few<std::uint32_t>(), Positions(at, i)));
    }

    HWY_INLINE FloatVector Floats(const std::uint8_t* at, std::size_t i) const
    {
        const auto elements = hn::LoadU(words, As<std::uint16_t>(at + i * hn::MaxLanes(words) * size));
        return hn::ConvertTo(floats, hn::PromoteTo(int32s, hn::Xor(hn::And(elements, mask_), sign_)));
    }

private:
    using Words = hn::Rebind<std::uint16_t, decltype(floats)>;
    static constexpr Words words{};

    HWY_INLINE hn::Vec<Few<std::uint16_t>> Positions(const std::uint8_t* at, std::size_t i) const
    {
        const Few<std::uint16_t> few;
        const auto elements = hn::LoadU(few, As<std::uint16_t>(at + i * doubleLanes * size));
        return hn::Xor(hn::And(elements, Lower(few, mask_)), Lower(few, sign_));
    }

    template <class Few>
    static HWY_INLINE hn::Vec<Few> Lower(Few few, hn::Vec<Words> v)
    {
        return hn::LowerHalf(few, v);
    }

    hn::Vec<Words> mask_;
    hn::Vec<Words> sign_;
};

HWY_INLINE Integers ToIntegers(Vector first, Vector second)
{
    return hn::Combine(int32s, ToIntegers(second), ToIntegers(first));
}

/// Integers as a type of fewer bytes, the nearest it has. Packing takes blocks of 16 bytes from both operands
/// in turns, which the permutation undoes.
template <class D>
HWY_INLINE ByteVector Narrowed(Integers a, Integers b)
{
    static_assert(sizeof(D) == 2);
#if HWY_TARGET <= HWY_AVX3_DL
    const __m512i words =
        std::is_signed_v<D> ? _mm512_packs_epi32(a.raw, b.raw) : _mm512_packus_epi32(a.raw, b.raw);
    return ByteVector{_mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7), words)};
#else
    const __m256i words =
        std::is_signed_v<D> ? _mm256_packs_epi32(a.raw, b.raw) : _mm256_packus_epi32(a.raw, b.raw);
    return ByteVector{_mm256_permute4x64_epi64(words, _MM_SHUFFLE(3, 1, 2, 0))};
#endif
}

template <class D>
HWY_INLINE ByteVector Narrowed(Integers a, Integers b, Integers c, Integers d)
{
    static_assert(sizeof(D) == 1);
#if HWY_TARGET <= HWY_AVX3_DL
    const __m512i words = _mm512_packs_epi32(a.raw, b.raw);
    const __m512i more = _mm512_packs_epi32(c.raw, d.raw);
    const __m512i inTurns =
        std::is_signed_v<D> ? _mm512_packs_epi16(words, more) : _mm512_packus_epi16(words, more);
    const __m512i order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    return ByteVector{_mm512_permutexvar_epi32(order, inTurns)};
#else
    const __m256i words = _mm256_packs_epi32(a.raw, b.raw);
    const __m256i more = _mm256_packs_epi32(c.raw, d.raw);
    const __m256i inTurns =
        std::is_signed_v<D> ? _mm256_packs_epi16(words, more) : _mm256_packus_epi16(words, more);
    return ByteVector{_mm256_permutevar8x32_epi32(inTurns, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7))};
#endif
}

/// As many target pixels of one or two bytes as a vector has. `values` has `Whole`: vector `i` of their
/// values as integers, computed from an address on.
template <class D, class Values>
HWY_INLINE ByteVector NarrowedPixels(const Values& values, const std::uint8_t* src)
{
    if constexpr (sizeof(D) == 2)
        return Narrowed<D>(values.Whole(src, 0), values.Whole(src, 1));
    else
        return Narrowed<D>(values.Whole(src, 0), values.Whole(src, 1), values.Whole(src, 2),
                           values.Whole(src, 3));
}

/// Values in the target's range, of four or eight bytes, as the target's type.
template <class D>
HWY_INLINE hn::Vec<Few<D>> Quantised(Vector y)
{
    if constexpr (std::is_same_v<D, double>) {
        return y;
    } else if constexpr (std::is_same_v<D, float>) {
        return hn::DemoteTo(Few<float>(), y);
    } else if constexpr (std::is_same_v<D, std::uint32_t>) {
        // trunc(y) - 2^31 is exact and fits a signed integer; turning the sign bit over adds the 2^31 again.
        const Few<std::uint32_t> few;
        const auto below = ToIntegers(hn::Sub(hn::Trunc(y), hn::Set(doubles, twoTo31)));
        return hn::Xor(hn::BitCast(few, below), hn::Set(few, std::uint32_t{1} << 31));
    } else {
        static_assert(std::is_same_v<D, std::int32_t>);
        return ToIntegers(y);
    }
}

/// As ToneCurve has it: NaN becomes the lower end, for the processor's maximum gives its second operand where
/// one is NaN.
HWY_INLINE Vector Saturated(Vector y, Vector min, Vector max)
{
    return hn::Min(hn::Max(y, min), max);
}

#endif
} // namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
