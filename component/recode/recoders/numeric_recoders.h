#pragma once

#include "recode/curve/plain_conversion.h"
#include "recode/curve/stepped_table.h"
#include "recode/pixels/sample_field.h"
#include "recode/recoders/curve_table.h"
#include "recode/recoders/packed_rows.h"
#include "recode/recoders/recoder_base.h"
#include "recode/recoders/smaller_form.h"

namespace Mardu::Sentel::Tavlo {

/// What the families with a table share: an entry for every value of a source of up to
/// 16 bits, so that a pixel costs one load and one store whatever the parameters are.
template <class S, class D>
class recoder_lut : public recoder_base
{
public:
    RecodeResult Recode(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                        std::uint64_t height) override
    {
        if (const SteppedTable* table = Stepped(width, height)) {
            const auto byStep = ActiveKernels().lookup.stepped;
            Run(srcPixels, dstPixels, width, height,
                [&](const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
                    byStep(*table, from, to, count);
                });
            return RecodeResult::done;
        }
        if (const auto compute = ComputingLoop()) {
            Run(srcPixels, dstPixels, width, height,
                [&](const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
                    compute(lut_.Curve(), field_.Mask(), field_.Sign(), from, to, count);
                });
            return RecodeResult::done;
        }
        RequireEntries(From(srcPixels), width, height);
        const LookupKernels& kernels = ActiveKernels().lookup;
        const auto lookup = (sizeof(S) == 1 ? kernels.from8 : kernels.from16)[SizeIndex(sizeof(D))];
        Run(srcPixels, dstPixels, width, height,
            [&](const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
                lookup(lut_.Entries(), field_.Mask(), from, to, count);
            });
        return RecodeResult::done;
    }

    RecodeResult Cast(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                      std::uint64_t height) override
    {
        if (field_.Bits() == 8 * sizeof(S)) {
            const auto cast = ActiveKernels().cast.cast[ElementIndex<S>()][ElementIndex<D>()];
            Run(srcPixels, dstPixels, width, height, cast);
            return RecodeResult::done;
        }
        Run(srcPixels, dstPixels, width, height,
            [f = field_](const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
                ForEachPixel<S, D>(from, to, count, [f](S v) { return PlainConversion<D>(f.Value(v)); });
            });
        return RecodeResult::done;
    }

    void UpdateLUT() override
    {
        const auto last = static_cast<double>(lut_.Count() - 1);
        lut_.Use(ToneCurve(Tone(), last, range_, ToneCurve::Bounds::whole));
        stepped_.Clear();
    }

protected:
    recoder_lut(const TavloDescriptorData& source, const TavloDescriptorData& target, int sourceBits,
                const ValueRange& targetRange)
        : recoder_base(source, target),
          field_(sourceBits),
          range_(targetRange),
          lut_(field_.Count(), field_.Sign())
    {
        UpdateLUT();
    }

private:
    void Run(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
             std::uint64_t height, PackedConversion convert)
    {
        ConvertPacked(From(srcPixels), sizeof(S), To(dstPixels), sizeof(D), width, height, convert);
    }

    /// What computes entries of pixels faster than they could be looked up, or null.
    CurveKernels::OfField ComputingLoop() const
    {
        return sizeof(S) == 2 ? ActiveKernels().Of(lut_.Curve()).ofField[ElementIndex<D>()] : nullptr;
    }

    void RequireEntries(const SourceBlock& source, std::uint64_t width, std::uint64_t height)
    {
        if (lut_.IsComplete() || width == 0 || height == 0)
            return;
        if constexpr (sizeof(S) == 1)
            lut_.RequireAll();
        else
            lut_.Require(NeededEntries(lut_.Count(), field_.Sign(), source, width, height));
    }

    /// The smaller form of the table, where it serves, or null. It is made for images that it pays for.
    const SteppedTable* Stepped(std::uint64_t width, std::uint64_t height)
    {
        if constexpr (sizeof(S) == 2 && sizeof(D) == 1) {
            const std::uint64_t enough = 2 * lut_.Count();
            if (ActiveKernels().lookup.stepped == nullptr || width == 0 || height < enough / width)
                return nullptr;
            lut_.RequireAll();
            return stepped_.Get([this](SteppedTable& table) {
                return table.Build(reinterpret_cast<const std::uint8_t*>(lut_.Entries()), field_.Bits());
            });
        }
        return nullptr;
    }

    sample_field<S> field_;
    ValueRange range_;
    CurveTable<D> lut_;
    SmallerForm<SteppedTable> stepped_;
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
        const auto convert = ActiveKernels().Of(curve).pairs[CurveKernels::SourceIndex<S>][ElementIndex<D>()];
        ConvertPacked(From(srcPixels), sizeof(S), To(dstPixels), sizeof(D), width, height,
                      [&](const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
                          convert(curve, from, to, count);
                      });
        return RecodeResult::done;
    }

    RecodeResult Cast(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                      std::uint64_t height) override
    {
        const auto cast = ActiveKernels().cast.cast[ElementIndex<S>()][ElementIndex<D>()];
        ConvertPacked(From(srcPixels), sizeof(S), To(dstPixels), sizeof(D), width, height, cast);
        return RecodeResult::done;
    }
};

} // namespace Mardu::Sentel::Tavlo
