#pragma once

#include "recode/curve/color_ramp.h"
#include "recode/curve/compact_colors.h"
#include "recode/recoders/color_recoders.h"
#include "recode/recoders/lazy_table.h"
#include "recode/recoders/smaller_form.h"

#include <array>
#include <bit>

namespace Mardu::Sentel::Tavlo {

/// Floats from 0 to 1 share 65536 entries, as many as the finest integer source has;
/// values outside, and NaN, take the nearest end, NaN the lower one.
inline constexpr int floatColorBits = 16;

/// Grey to colour, through a table that the colour ramp and the tone curve fill.
template <class S, class D>
class recoder_g2col final : public recoder_base, public recoder_to_color
{
public:
    recoder_g2col(const TavloDescriptorData& source, const TavloDescriptorData& target)
        : recoder_base(source, target),
          swapRB_(KeyByte(target.Encoding) == Tavlo_BGR),
          lut_(std::size_t{1} << (isFloat ? floatColorBits : KeyByte(source.Bits)), 0),
          colors_(Colors()),
          curve_(CurveOfTable())
    {
    }

    RecodeResult Recode(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                        std::uint64_t height) override
    {
        if (width == 0 || height == 0)
            return RecodeResult::done;
        RequireEntries(From(srcPixels), width, height);
        const LookupKernels& kernels = ActiveKernels().lookup;
        const auto mask = static_cast<std::uint32_t>(lut_.Count() - 1);
        if (const CompactColors* table = Compact(width, height)) {
            RunIndexed(srcPixels, dstPixels, width, height,
                       [&](const std::uint8_t* indices, std::uint8_t* to, std::size_t count) {
                           kernels.compact(*table, mask, indices, to, count);
                       });
            return RecodeResult::done;
        }
        const auto lookup = (sizeof(S) == 1 ? kernels.from8 : kernels.from16)[SizeIndex(TargetSize())];
        RunIndexed(srcPixels, dstPixels, width, height,
                   [&](const std::uint8_t* indices, std::uint8_t* to, std::size_t count) {
                       lookup(lut_.Entries(), mask, indices, to, count);
                   });
        return RecodeResult::done;
    }

    RecodeResult Cast(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                      std::uint64_t height) override
    {
        const auto toColor = [bits = KeyByte(src.Bits)](S v) {
            S value = v;
            if constexpr (!isFloat)
                value = sample_field<S>(bits).Value(v);
            return OpaqueGrey(PlainConversion<D>(value));
        };
        Run(srcPixels, dstPixels, width, height,
            [&](const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
                if (TargetSize() == 4)
                    ForEachPixel<S, PackedColor>(from, to, count, toColor);
                else
                    ForEachPixel<S, std::array<std::uint8_t, 3>>(from, to, count, [&](S v) {
                        const PackedColor grey = toColor(v);
                        std::array<std::uint8_t, 3> bytes;
                        std::memcpy(bytes.data(), &grey, 3);
                        return bytes;
                    });
            });
        return RecodeResult::done;
    }

    void UpdateLUT() override
    {
        colors = Colors();
        curve = CurveOfTable();
        lut_.Clear();
        compact.Clear();
    }

private:
    static constexpr bool isFloat = std::is_floating_point_v<S>;
    static_assert(std::endian::native == std::endian::little, "the lowest byte of a colour comes first");

    /// The linear case takes its units from 0 to the last entry, the other one from 0 to 1: docs/recoding.md, "The
    /// tone curve", has the operations of the ramp in this order.
    double LastSource() const noexcept
    {
        return Tone().IsLinear() ? static_cast<double>(lut_.Count() - 1) : 1.0;
    }

    ToneCurve CurveOfTable() const noexcept
    {
        return ToneCurve(Tone(), LastSource(), value_range<double>, ToneCurve::Bounds::exact);
    }

    void RequireEntries(const SourceBlock& source, std::uint64_t width, std::uint64_t height)
    {
        if (lut_.IsComplete())
            return;
        const auto needed = sizeof(S) == 2 ? NeededEntries(lut_.Count(), 0, source, width, height)
                                           : IndexRange{0, lut_.Count() - 1};
        const double unit = curve_.IsLinear() ? 1.0 : static_cast<double>(lut_.Count() - 1);
        lut_.Require(needed, [this, unit](std::size_t first, std::size_t count, PackedColor* entries) {
            for (std::size_t i = 0; i < count; ++i) {
                const PackedColor color = colors_(curve_(static_cast<double>(first + i) / unit));
                entries[i] = swapRB_ ? WithRedAndBlueSwapped(color) : color;
            }
        });
    }

    /// The smaller form of the table, where it serves, or null. It is made for images that it pays for.
    const CompactColors* Compact(std::uint64_t width, std::uint64_t height)
    {
        const std::uint64_t enough = 8 * lut_.Count();
        if (sizeof(S) == 1 || TargetSize() != 4 || ActiveKernels().lookup.compact == nullptr ||
            height < enough / width)
            return nullptr;
        return compact_.Get([this](CompactColors& table) { return table.Build(lut_.Entries(), lut_.Count()); });
    }

    static constexpr PackedColor WithRedAndBlueSwapped(PackedColor c) noexcept
    {
        return (c & 0xFF00FF00) | (c & 0xFF) << 16 | (c >> 16 & 0xFF);
    }

    /// A fourth byte belongs to a pixel by its encoding, and only where the pixels are that far
    /// apart: a descriptor of 24 bits with smaller strides describes no memory for it.
    bool WritesAlpha() const noexcept
    {
        return HasAlpha(dst) && (KeyByte(dst.Bits) == 32 || dst.Stride_x >= 4);
    }

    std::size_t TargetSize() const noexcept { return WritesAlpha() ? 4 : 3; }

    void Run(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
             std::uint64_t height, PackedConversion convert)
    {
        ConvertPacked(From(srcPixels), sizeof(S), To(dstPixels), TargetSize(), width, height, convert);
    }

    /// As Run, for a conversion of positions in the table.
    template <class Convert>
    void RunIndexed(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                    std::uint64_t height, const Convert& convert)
    {
        if constexpr (isFloat)
            Run(srcPixels, dstPixels, width, height,
                [&](const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
                    InStretches(from, to, count, convert);
                });
        else
            Run(srcPixels, dstPixels, width, height, convert);
    }

    /// Turns floats into 16-bit positions in the table, in stretches that stay in the fastest cache.
    template <class FromIndices>
    void InStretches(const std::uint8_t* from, std::uint8_t* to, std::size_t count,
                     const FromIndices& fromIndices)
    {
        static const ToneCurve scale({}, 1.0, value_range<std::uint16_t>, ToneCurve::Bounds::exact);
        const auto toIndex =
            ActiveKernels().linear.pairs[CurveKernels::SourceIndex<float>][ElementIndex<std::uint16_t>()];
        std::uint16_t indices[1024];
        for (std::size_t done = 0; done < count; done += std::size(indices)) {
            const std::size_t now = std::min(count - done, std::size(indices));
            auto* staged = reinterpret_cast<std::uint8_t*>(indices);
            toIndex(scale, from + sizeof(float) * done, staged, now);
            fromIndices(staged, to + TargetSize() * done, now);
        }
    }

    bool swapRB_;
    LazyTable<PackedColor> lut_;
    SmallerForm<CompactColors> compact_;
    ColorWalk colors_;
    ToneCurve curve_;
};

} // namespace Mardu::Sentel::Tavlo
