#if defined(TAVLO_RECODE_FIXED_POINT_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVLO_RECODE_FIXED_POINT_INL_H
#undef TAVLO_RECODE_FIXED_POINT_INL_H
#else
#define TAVLO_RECODE_FIXED_POINT_INL_H
#endif

#include "recode/kernels/linear_curve-inl.h"

#include <algorithm>
#include <cmath>

HWY_BEFORE_NAMESPACE();
namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE {
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3_DL

/// The linear curve to bytes in numbers of 16 bits before the point and 16 behind it, computed in single
/// precision:
/// 1. f = u - unitsAtZero, as a float; off by up to 2^-24 of itself, or by nothing.
/// 2. 2^16 y = f * slope' + shift', one fused step, where slope' = 2^16 slope and
///    shift' = 2^16 (unitsAtZero * slope + shift) are floats.
/// 3. Where y is 0 to 256, the result is off by less than e, the sum of
///      (2^-24 or 0, and what slope' is off by, relatively) * the largest product,
///      what shift' is off by,
///      3/4 for rounding the sum: to 1/2 from y = 128 on; to 1/4 and then to a whole number below,
///      1/100 for the rounding of ToneCurve::Linear itself.
/// 4. shift' also holds a margin m, the least power of 2 that is e or more: the result x is above 2^16 y and
///    below 2^16 y + 2 m.
/// 5. The byte is x >> 16, unless the fraction of x is below 2 m: then y may lie on the other side of the
/// whole
///    number, and the vector is doubtful.
template <class Source>
class FixedPointCurve
{
public:
    FixedPointCurve(const ToneCurve::Constants& c, const Source& source) : source_(source)
    {
        const double shift = Source::unitsAtZero * c.slope + c.shift;
        const auto slope = static_cast<float>(c.slope * one);
        const double largestProduct = std::max(std::abs(shift), std::abs(256.0 - shift)) + 1.0;
        const double relative = (Source::isExact ? 0.0 : 0x1p-24) +
                                (c.slope == 0.0 ? 0.0 : std::abs(slope / (c.slope * one) - 1.0));
        const double errorBesidesShift = relative * largestProduct * one + 0.75 + 0.01;
        int bits = 0; // of 2 m
        double margin, error;
        do {
            margin = std::ldexp(1.0, bits++);
            const double exact = shift * one + margin;
            error = errorBesidesShift + std::abs(static_cast<float>(exact) - exact);
        } while (bits < fractionBits && margin < error);
        const double size = std::abs(c.slope); // may be NaN, too
        isExactEnough_ =
            c.target.max == 255.0 && bits <= 10 && (size == 0.0 || (size > 0x1p-80 && size < 0x1p80));
        slope_ = hn::Set(floats, slope);
        shift_ = hn::Set(floats, static_cast<float>(shift * one + margin));
        close_ = hn::Set(int32s, (one - 1) & ~((1 << bits) - 1));
    }

    /// Whether few vectors are doubtful.
    bool IsExactEnough() const { return isExactEnough_; }

    /// The bytes for a whole vector of them; some may be wrong if it is doubtful.
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
        // NaN and what does not fit become the smallest integer, whose fraction is 0.
#if HWY_TARGET <= HWY_AVX3_DL
        return Integers{_mm512_cvtps_epi32(y.raw)};
#else
        return Integers{_mm256_cvtps_epi32(y.raw)};
#endif
    }

    /// Whose fraction is below 2 m. Numbers up to 1/2 are taken for 1/2, whose fraction is not: whatever they
    /// are off by, they become 0.
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

template <class Source, class D>
class FixedPoint : public NoPath
{
};

/// Bytes by FixedPointCurve, doubtful vectors once more as LinearCurve has them. Not from doubles, which
/// single precision would have to be made of first.
template <class Source>
requires(!std::is_same_v<Source, PixelSource<double>>) class FixedPoint<Source, std::uint8_t>
{
public:
    static constexpr bool exists = true;

    FixedPoint(const ToneCurve::Constants& c, const Source& source, double span)
        : fast_(c, source), exact_(c, source, span)
    {
    }

    bool Applies() const { return fast_.IsExactEnough(); }
    static bool IsLeftToAvx2(std::size_t) { return false; }

    HWY_INLINE ByteVector operator()(const std::uint8_t* src) const
    {
        bool isDoubtful;
        ByteVector pixels = fast_(src, isDoubtful);
        if (HWY_UNLIKELY(isDoubtful))
            pixels = exact_(src);
        return pixels;
    }

    void Run(const std::uint8_t* src, std::uint8_t* dst, std::size_t count) const
    {
        ConvertVectors<Source, std::uint8_t>(src, dst, count, *this);
    }

private:
    FixedPointCurve<Source> fast_;
    Computed<Source, std::uint8_t> exact_;
};

#endif
} // namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
