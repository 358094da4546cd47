#if defined(TAVLO_RECODE_FIXED_POINT_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVLO_RECODE_FIXED_POINT_INL_H
#undef TAVLO_RECODE_FIXED_POINT_INL_H
#else
#define TAVLO_RECODE_FIXED_POINT_INL_H
#endif

#include "recode/tone_curve.h"

#include <hwy/highway.h>

#include <cmath>
#include <cstring>

HWY_BEFORE_NAMESPACE();
namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE {
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3_DL

/// The linear curve from 32-bit sources to bytes with half as wide arithmetic. Values are computed as
/// fixed-point numbers with a known error; where this error reaches over a whole number, the caller takes the
/// published arithmetic instead. So the bytes are the same.
template <class S>
class FixedPointCurve
{
    using Floats = hwy::HWY_NAMESPACE::ScalableTag<float>;
    using Ints = hwy::HWY_NAMESPACE::ScalableTag<std::int32_t>;

public:
    explicit FixedPointCurve(const ToneCurve::Constants& c)
    {
        namespace hn = hwy::HWY_NAMESPACE;
        // Integers are taken as signed ones, which are counted from -2^31 on.
        const double shift = std::is_integral_v<S> ? 2147483648.0 * c.slope + c.shift : c.shift;
        // The source, the slope, the shift and their sum are rounded to 24 bits each, and the product is as
        // large as the value and the shift together; the fixed-point number is rounded to its last bit.
        const double error = (256.0 + 2.0 * std::abs(shift)) * 0x1p-22 + 1.0 / one;
        int bits = 1;
        while (bits < fractionBits && std::ldexp(1.0 / one, bits - 1) < error)
            ++bits;
        const double margin = std::ldexp(1.0, bits - 1);
        const double size = std::abs(c.slope); // may be NaN, too
        isExactEnough_ = bits <= 9 && (size == 0.0 || (size > 0x1p-80 && size < 0x1p80));
        slope_ = hn::Set(Floats(), static_cast<float>(c.slope * one));
        shift_ = hn::Set(Floats(), static_cast<float>(shift * one + margin));
        close_ = hn::Set(Ints(), (one - 1) & ~((1 << bits) - 1));
    }

    bool IsExactEnough() const { return isExactEnough_; }

    /// False if a pixel is too close to a whole number to tell.
    HWY_INLINE bool Store(const std::uint8_t* src, std::uint8_t* dst) const
    {
        namespace hn = hwy::HWY_NAMESPACE;
        const Ints ints;
        // Up to 1/2 everything is 0, and from 255 1/2 on 255. NaN passes the minimum, and becomes the
        // smallest integer.
        const auto y = hn::Min(hn::Set(Floats(), 255.5f * one), hn::MulAdd(Sources(src), slope_, shift_));
        const auto fixed = hn::Max(ToNearest(y), hn::Set(ints, one / 2));
        const auto isClose = hn::Eq(hn::And(fixed, close_), hn::Zero(ints));
        const hn::Rebind<std::uint8_t, Ints> bytesOfInts;
        const auto whole = hn::ShiftRight<fractionBits>(fixed);
#if HWY_TARGET <= HWY_AVX3_DL
        const __m128i low = _mm512_cvtepi32_epi8(whole.raw);
        std::memcpy(dst, &low, sizeof low);
#else
        hn::StoreU(hn::DemoteTo(bytesOfInts, whole), bytesOfInts, dst);
#endif
        return hn::AllFalse(ints, isClose);
    }

private:
    static constexpr int fractionBits = 15;
    static constexpr int one = 1 << fractionBits;

    static HWY_INLINE hwy::HWY_NAMESPACE::Vec<Floats> Sources(const std::uint8_t* src)
    {
        namespace hn = hwy::HWY_NAMESPACE;
        if constexpr (std::is_same_v<S, float>) {
            return hn::LoadU(Floats(), reinterpret_cast<const float*>(src));
        } else {
            auto value = hn::LoadU(Ints(), reinterpret_cast<const std::int32_t*>(src));
            if constexpr (std::is_unsigned_v<S>)
                value = hn::Xor(value, hn::Set(Ints(), std::numeric_limits<std::int32_t>::min()));
            return hn::ConvertTo(Floats(), value);
        }
    }

    static HWY_INLINE hwy::HWY_NAMESPACE::Vec<Ints> ToNearest(hwy::HWY_NAMESPACE::Vec<Floats> y)
    {
#if HWY_TARGET <= HWY_AVX3_DL
        return hwy::HWY_NAMESPACE::Vec<Ints>{_mm512_cvtps_epi32(y.raw)};
#else
        return hwy::HWY_NAMESPACE::Vec<Ints>{_mm256_cvtps_epi32(y.raw)};
#endif
    }

    hwy::HWY_NAMESPACE::Vec<Floats> slope_;
    hwy::HWY_NAMESPACE::Vec<Floats> shift_;
    hwy::HWY_NAMESPACE::Vec<Ints> close_;
    bool isExactEnough_;
};

#endif
} // namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
