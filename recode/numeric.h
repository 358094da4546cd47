#pragma once

#include "recode/plain_conversion.h"
#include "recode/recoder_base.h"
#include "recode/sample_field.h"

#include <vector>

namespace Mardu::Sentel::Tavlo {

/// Fills a table with the tone curve over its own indices.
template <class D>
void FillTable(std::vector<D>& lut, const ToneParameters& parameters, const ValueRange& target)
{
    const ToneCurve curve(parameters, static_cast<double>(lut.size() - 1), target, ToneCurve::Bounds::whole);
    for (std::size_t i = 0; i < lut.size(); ++i)
        lut[i] = Quantise<D>(curve(static_cast<double>(i)));
}

/// What the families with a table share: an entry for every value of a source of up to
/// 16 bits, so that a pixel costs one load and one store whatever the parameters are.
template <class S, class D>
class recoder_lut : public recoder_base
{
public:
    RecodeResult Recode(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                        std::uint64_t height) override
    {
        ConvertBlock<S, D>(From(srcPixels), To(dstPixels), width, height,
                           [table = lut.data(), f = field](S v) { return table[f.Index(v)]; });
        return RecodeResult::done;
    }

    RecodeResult Cast(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                      std::uint64_t height) override
    {
        ConvertBlock<S, D>(From(srcPixels), To(dstPixels), width, height,
                           [f = field](S v) { return PlainConversion<D>(f.Value(v)); });
        return RecodeResult::done;
    }

    void UpdateLUT() override { FillTable(lut, Tone(), range); }

protected:
    recoder_lut(const TavloDescriptorData& source, const TavloDescriptorData& target, int sourceBits,
                const ValueRange& targetRange)
        : recoder_base(source, target), field(sourceBits), range(targetRange), lut(field.Count())
    {
    }

private:
    sample_field<S> field;
    ValueRange range;
    std::vector<D> lut;
};

/// Sources that use every bit of an 8- or 16-bit element.
template <class S, class D>
class recoder final : public recoder_lut<S, D>
{
public:
    recoder(const TavloDescriptorData& source, const TavloDescriptorData& target)
        : recoder_lut<S, D>(source, target, 8 * sizeof(S), value_range<D>)
    {
    }
};

/// Sources of 9 to 15 bits, stored in 16-bit elements whose upper bits may hold anything.
template <class S, class D>
class recoder_bits final : public recoder_lut<S, D>
{
public:
    recoder_bits(const TavloDescriptorData& source, const TavloDescriptorData& target)
        : recoder_lut<S, D>(source, target, KeyByte(source.Bits), value_range<D>)
    {
    }
};

/// To targets of 9 to 15 bits: the range ends where the target's field does.
template <class S, class D>
class recoder_bits_d final : public recoder_lut<S, D>
{
public:
    recoder_bits_d(const TavloDescriptorData& source, const TavloDescriptorData& target)
        : recoder_lut<S, D>(source, target, 8 * sizeof(S), UnsignedFieldRange(KeyByte(target.Bits)))
    {
    }
};

/// 32-bit integer and float sources, for which a table would be too large.
template <class S, class D>
class recoder_long final : public recoder_base
{
public:
    using recoder_base::recoder_base;

    RecodeResult Recode(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                        std::uint64_t height) override
    {
        const ToneCurve curve(Tone(), value_range<S>.span, value_range<D>, ToneCurve::Bounds::exact);
        if (curve.IsLinear())
            ConvertBlock<S, D>(From(srcPixels), To(dstPixels), width, height,
                               [curve](S v) { return Quantise<D>(curve.Linear(SourceUnits(v))); });
        else
            ConvertBlock<S, D>(From(srcPixels), To(dstPixels), width, height,
                               [curve](S v) { return Quantise<D>(curve.Bent(SourceUnits(v))); });
        return RecodeResult::done;
    }

    RecodeResult Cast(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                      std::uint64_t height) override
    {
        ConvertBlock<S, D>(From(srcPixels), To(dstPixels), width, height,
                           [](S v) { return PlainConversion<D>(v); });
        return RecodeResult::done;
    }

private:
    /// Signed sources are shifted so that their smallest value is 0.
    static double SourceUnits(S value) noexcept { return static_cast<double>(value) - value_range<S>.min; }
};

} // namespace Mardu::Sentel::Tavlo
