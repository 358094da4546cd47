#if defined(TAVLO_RECODE_FULL_RANGE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVLO_RECODE_FULL_RANGE_INL_H
#undef TAVLO_RECODE_FULL_RANGE_INL_H
#else
#define TAVLO_RECODE_FULL_RANGE_INL_H
#endif

#include "recode/kernels/linear_curve-inl.h"
#include "recode/pixels/value_range.h"

HWY_BEFORE_NAMESPACE();
namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE {
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3_DL

template <class Source, class D>
class FullRange : public NoPath
{
};

/// Integers of 32 bits to unsigned ones of n = 8 or 16, without contrast and brightness:
///   k = (u - (u >> n)) >> (32 - n)
/// 1. The curve's step is s = (2^32 - 1) / (2^n - 1), a whole number whose bytes, or words, are all 1.
/// 2. Let u = k s + r with 0 <= r < s. The curve rises, gives k at every k s and k - 1 just before it (a test
///    tries them all), and so gives k for this u.
/// 3. u - (u >> n) is u (1 - 2^-n), rounded up; and s (1 - 2^-n) is 2^(32-n) - 2^-n.
/// 4. So it is k 2^(32-n) + x, where x is r (1 - 2^-n) - k 2^-n, rounded up. x is at least 0, for k < 2^n,
/// and
///    less than 2^(32-n), for r <= s - 1.
/// 5. Shifted right by 32 - n this is k.
template <class S, class D>
requires(std::is_integral_v<S>&& std::is_unsigned_v<D> && sizeof(D) <= 2) class FullRange<PixelSource<S>, D>
{
public:
    static constexpr bool exists = true;

    FullRange(const ToneCurve::Constants& c, const PixelSource<S>&, double)
        : applies_(IsProduct(c) && c.target.max == value_range<D>.max &&
                   c.slope == value_range<D>.span / value_range<S>.span)
    {
    }

    bool Applies() const { return applies_; }
    static bool IsLeftToAvx2(std::size_t count) { return count >= farBytes / sizeof(D); }

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

    void Run(const std::uint8_t* src, std::uint8_t* dst, std::size_t count) const
    {
        ConvertVectors<PixelSource<S>, D>(src, dst, count, *this);
    }

private:
    bool applies_;
};

#endif
} // namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
