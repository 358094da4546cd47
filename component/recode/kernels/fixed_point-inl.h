#if defined(TAVLO_RECODE_FIXED_POINT_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVLO_RECODE_FIXED_POINT_INL_H
#undef TAVLO_RECODE_FIXED_POINT_INL_H
#else
#define TAVLO_RECODE_FIXED_POINT_INL_H
#endif

#include "recode/curve/tone_curve.h"
#include "recode/kernels/curve_vectors-inl.h"

#include <algorithm>
#include <cmath>

HWY_BEFORE_NAMESPACE();
namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE {
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3_DL

/// The linear curve to bytes with half as wide arithmetic. Values are computed as
/// fixed-point numbers with a known error; where this error reaches over a whole number, the caller takes the
/// published arithmetic instead. So the bytes are the same.
template <class Source>
class FixedPointCurve
{
public:
    FixedPointCurve(const ToneCurve::Constants& c, const Source& source) : source_(source)
    {
        const double shift = Source::unitsAtZero * c.slope + c.shift;
        const auto slope = static_cast<float>(c.slope * one);
        // Of products that give a byte, before the shift is added.
        const double largest = std::max(std::abs(shift), std::abs(256.0 - shift)) + 1.0;
        // Sources that are no floats are rounded to 24 bits, and so is the slope.
        const double relative = (Source::isExact ? 0.0 : 0x1p-24) +
                                (c.slope == 0.0 ? 0.0 : std::abs(slope / (c.slope * one) - 1.0));
        // In units of the last bit, as are the following. The sum is rounded to a half from 128 on, and to a
        // quarter and then to a whole number below; the published arithmetic rounds to far less than the
        // rest.
        const double errorOfValue = relative * largest * one + 0.75 + 0.01;
        int bits = 0;
        double margin, error;
        do {
            margin = std::ldexp(1.0, bits++);
            const double exact = shift * one + margin;
            error = errorOfValue + std::abs(static_cast<float>(exact) - exact);
        } while (bits < fractionBits && margin < error);
        const double size = std::abs(c.slope); // may be NaN, too
        isExactEnough_ =
            c.target.max == 255.0 && bits <= 10 && (size == 0.0 || (size > 0x1p-80 && size < 0x1p80));
        slope_ = hn::Set(floats, slope);
        shift_ = hn::Set(floats, static_cast<float>(shift * one + margin));
        close_ = hn::Set(int32s, (one - 1) & ~((1 << bits) - 1));
    }

    bool IsExactEnough() const { return isExactEnough_; }

    /// The bytes for a whole vector of them. Some may be wrong if a pixel is too close to a whole number to
    /// tell, which is noted.
    HWY_INLINE ByteVector operator()(const std::uint8_t* src, bool& isDoubtful) const
    {
        const Integers a = Fixed(src, 0), b = Fixed(src, 1), c = Fixed(src, 2), d = Fixed(src, 3);
#if HWY_TARGET <= HWY_AVX3_DL
        isDoubtful = (Doubt(a) | Doubt(b) | Doubt(c) | Doubt(d)) != 0;
        // The upper words are saturated to bytes, four vectors of which lie in turns then.
        const hn::ScalableTag<std::uint16_t> words;
        const auto even = hn::Add(hn::Iota(words, 0), hn::Iota(words, 0));
        const __m512i odd = hn::Add(even, hn::Set(words, 1)).raw;
        const __m512i inTurns = _mm512_packus_epi16(_mm512_permutex2var_epi16(a.raw, odd, b.raw),
                                                    _mm512_permutex2var_epi16(c.raw, odd, d.raw));
        return ByteVector{_mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7), inTurns)};
#else
        isDoubtful = !hn::AllFalse(int32s, hn::Or(hn::Or(Doubt(a), Doubt(b)), hn::Or(Doubt(c), Doubt(d))));
        return Narrowed<std::uint8_t>(hn::ShiftRight<fractionBits>(a), hn::ShiftRight<fractionBits>(b),
                                      hn::ShiftRight<fractionBits>(c), hn::ShiftRight<fractionBits>(d));
#endif
    }

private:
    static constexpr int fractionBits = 16;
    static constexpr int one = 1 << fractionBits;

    HWY_INLINE Integers Fixed(const std::uint8_t* src, std::size_t i) const
    {
        const FloatVector y = hn::MulAdd(source_.Floats(src, i), slope_, shift_);
        // NaN and what does not fit become the smallest integer.
#if HWY_TARGET <= HWY_AVX3_DL
        return Integers{_mm512_cvtps_epi32(y.raw)};
#else
        return Integers{_mm256_cvtps_epi32(y.raw)};
#endif
    }

    /// Which are close to a whole number. The smallest integer always is; what is up to 1/2 is not, since
    /// everything below 1 becomes 0.
    HWY_INLINE auto Doubt(Integers fixed) const
    {
        const hn::ScalableTag<std::uint32_t> unsigneds;
        const auto raised =
            hn::BitCast(int32s, hn::Max(hn::BitCast(unsigneds, fixed),
                                        hn::Set(unsigneds, static_cast<std::uint32_t>(one / 2))));
#if HWY_TARGET <= HWY_AVX3_DL
        return _mm512_testn_epi32_mask(raised.raw, close_.raw);
#else
        return hn::Eq(hn::And(raised, close_), hn::Zero(int32s));
#endif
    }

    Source source_;
    FloatVector slope_;
    FloatVector shift_;
    Integers close_;
    bool isExactEnough_;
};

#endif
} // namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
