#pragma once

#include "recode/color.h"
#include "recode/color_ramp.h"

#include <bit>

namespace Mardu::Sentel::Tavlo {

/// Where a grey value lies in a colour table. Integers have an entry each.
template <class S>
class color_index : public sample_field<S>
{
public:
    using sample_field<S>::sample_field;
};

/// Floats from 0 to 1 share 65536 entries, as many as the finest integer source has;
/// values outside, and NaN, take the nearest end, NaN the lower one.
template <>
class color_index<float>
{
public:
    explicit color_index(int) noexcept {}

    std::size_t Count() const noexcept { return 65536; }
    std::size_t Index(float v) const noexcept
    {
        const double position = v;
        const double clamped = position >= 0.0 ? (position < 1.0 ? position : 1.0) : 0.0;
        return static_cast<std::size_t>(clamped * 65535.0);
    }
    float Value(float v) const noexcept { return v; }
};

/// Grey to colour, through a table that the colour ramp and the tone curve fill.
template <class S, class D>
class recoder_g2col final : public recoder_base, public recoder_to_color
{
public:
    recoder_g2col(const TavloDescriptorData& source, const TavloDescriptorData& target)
        : recoder_base(source, target),
          swapRB(KeyByte(target.Encoding) == Tavlo_BGR),
          index(KeyByte(source.Bits)),
          colorLUT(index.Count())
    {
    }

    RecodeResult Recode(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                        std::uint64_t height) override
    {
        Run(srcPixels, dstPixels, width, height,
            [table = colorLUT.data(), i = index](S v) { return table[i.Index(v)]; });
        return RecodeResult::done;
    }

    RecodeResult Cast(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                      std::uint64_t height) override
    {
        Run(srcPixels, dstPixels, width, height,
            [i = index](S v) { return OpaqueGrey(PlainConversion<D>(i.Value(v))); });
        return RecodeResult::done;
    }

    void UpdateLUT() override
    {
        // The linear case counts entries, the other one positions: that is the order of
        // operations that each is published with.
        const double last = static_cast<double>(colorLUT.size() - 1);
        const double unit = Tone().IsLinear() ? 1.0 : last;
        const ToneCurve curve(Tone(), last / unit, value_range<double>, ToneCurve::Bounds::exact);
        for (std::size_t i = 0; i < colorLUT.size(); ++i) {
            const PackedColor color = ColorAt(curve(static_cast<double>(i) / unit));
            colorLUT[i] = swapRB ? WithRedAndBlueSwapped(color) : color;
        }
    }

private:
    static_assert(std::endian::native == std::endian::little, "the lowest byte of a colour comes first");

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

    template <class ToColor>
    void Run(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
             std::uint64_t height, const ToColor& toColor)
    {
        if (WritesAlpha())
            ConvertBlock<S, PackedColor>(From(srcPixels), To(dstPixels), width, height, toColor);
        else if (width != 0)
            ForEachRow(From(srcPixels), To(dstPixels), height, [&](const std::uint8_t* s, std::uint8_t* d) {
                ThreeByteRow(s, src.Stride_x, d, dst.Stride_x, width, toColor);
            });
    }

    /// Packed pixels are written four bytes at a time: the fourth is the first of the next
    /// pixel, which is written after it. The last one of a row has no such neighbour.
    template <class ToColor>
    static void ThreeByteRow(const std::uint8_t* s, std::ptrdiff_t srcStride, std::uint8_t* d,
                             std::ptrdiff_t dstStride, std::uint64_t width, const ToColor& toColor)
    {
        const std::uint64_t wide = dstStride == 3 ? width - 1 : 0;
        const auto done = static_cast<std::ptrdiff_t>(wide);
        ConvertRow<S, PackedColor>(s, srcStride, d, dstStride, wide, toColor);
        ConvertRow<S, rgb_type<std::uint8_t>>(
            s + done * srcStride, srcStride, d + done * dstStride, dstStride, width - wide, [&toColor](S v) {
                const auto p = std::bit_cast<rgba_type<std::uint8_t>>(toColor(v));
                return rgb_type<std::uint8_t>{p.r, p.g, p.b};
            });
    }

    bool swapRB;
    color_index<S> index;
    std::vector<PackedColor> colorLUT;
};

} // namespace Mardu::Sentel::Tavlo
