#if defined(TAVLO_RECODE_FULL_RANGE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVLO_RECODE_FULL_RANGE_INL_H
#undef TAVLO_RECODE_FULL_RANGE_INL_H
#else
#define TAVLO_RECODE_FULL_RANGE_INL_H
#endif

#include "recode/curve/tone_curve.h"
#include "recode/kernels/curve_vectors-inl.h"
#include "recode/pixels/value_range.h"

HWY_BEFORE_NAMESPACE();
namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE {
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3_DL

/// The linear curve without contrast and brightness, from integers of 32 bits to unsigned ones of 8 or 16. A
/// step is (2^32 - 1) / (2^bits - 1) units then: a whole number whose bytes, or words, are all 1. With k
/// steps and a rest, units less their 2^bits-th part begin with k: in u - (u >> bits) the steps become k
/// times 2^(32 - bits), and the rest stays below that. The published arithmetic gives k at a step and k - 1
/// before it, so it gives the same everywhere.
template <class Source, class D>
class FullRange
{
public:
    static constexpr bool exists = false;
};

template <class S, class D>
requires(std::is_integral_v<S>&& std::is_unsigned_v<D> && sizeof(D) <= 2) class FullRange<PixelSource<S>, D>
{
public:
    static constexpr bool exists = true;

    static bool Applies(const ToneCurve::Constants& c)
    {
        return c.shift == 0.0 && c.target.min == 0.0 && c.target.max == value_range<D>.max &&
               c.slope == value_range<D>.span / value_range<S>.span;
    }

    HWY_INLINE ByteVector operator()(const std::uint8_t* src) const { return NarrowedPixels<D>(*this, src); }

    HWY_INLINE Integers Whole(const std::uint8_t* src, std::size_t i) const
    {
        constexpr int bits = 8 * sizeof(D);
        const hn::ScalableTag<std::uint32_t> unsigneds;
        const auto value = hn::BitCast(unsigneds, PixelSource<S>().Whole(src, i));
        const auto units = std::is_signed_v<S> ? hn::Xor(value, hn::Set(unsigneds, 0x80000000u)) : value;
        const auto less = hn::Sub(units, hn::ShiftRight<bits>(units));
        return hn::BitCast(int32s, hn::ShiftRight<32 - bits>(less));
    }
};

#endif
} // namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
