#pragma once

#include "image/color_pixel.h"
#include "recode/numeric.h"

#include <cstdint>
#include <vector>

namespace Mardu::Sentel::Tavlo {

/// A 256-entry table shared by the families with colour sources.
template <class D>
class recoder_from_color : public recoder_base
{
public:
    using recoder_base::recoder_base;

    void UpdateLUT() override { FillTable(lut, Tone(), value_range<D>); }

protected:
    std::vector<D> lut = std::vector<D>(256);
};

/// Colour to grey: the weighted mean of the channels, through the table.
template <class Pixel, class D>
class recoder_color2g : public recoder_from_color<D>
{
public:
    using recoder_from_color<D>::recoder_from_color;

    RecodeResult Recode(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                        std::uint64_t height) override
    {
        ConvertBlock<Pixel, D>(this->From(srcPixels), this->To(dstPixels), width, height,
                               [table = this->lut.data()](const Pixel& p) { return table[Grey(p)]; });
        return RecodeResult::done;
    }

    RecodeResult Cast(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                      std::uint64_t height) override
    {
        ConvertBlock<Pixel, D>(this->From(srcPixels), this->To(dstPixels), width, height,
                               [](const Pixel& p) { return PlainConversion<D>(Grey(p)); });
        return RecodeResult::done;
    }

private:
    /// The weights sum to 256, so that white stays 255.
    static std::uint8_t Grey(const Pixel& p) noexcept
    {
        return static_cast<std::uint8_t>((77 * p.r + 150 * p.g + 29 * p.b) >> 8);
    }
};

template <class E, class D>
class recoder_rgb2g final : public recoder_color2g<rgb_type<std::uint8_t>, D>
{
public:
    using recoder_color2g<rgb_type<std::uint8_t>, D>::recoder_color2g;
};

template <class E, class D>
class recoder_bgr2g final : public recoder_color2g<bgr_type<std::uint8_t>, D>
{
public:
    using recoder_color2g<bgr_type<std::uint8_t>, D>::recoder_color2g;
};

/// True for targets with a fourth byte by their encoding.
constexpr bool HasAlpha(const TavloDescriptorData& descriptor) noexcept
{
    return KeyByte(descriptor.Encoding) == Tavlo_RGBA || KeyByte(descriptor.Encoding) == Tavlo_BGRA;
}

/// Colour to colour: each channel through the table, alpha past it, 255 where the source has
/// none. The channel names only say where bytes go: what keeps R, G, B keeps B, G, R too.
template <class Source, class ThreeBytes, class FourBytes>
class recoder_channels : public recoder_from_color<std::uint8_t>
{
public:
    using recoder_from_color<std::uint8_t>::recoder_from_color;

    RecodeResult Recode(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                        std::uint64_t height) override
    {
        Run(srcPixels, dstPixels, width, height, [table = lut.data()](std::uint8_t v) { return table[v]; });
        return RecodeResult::done;
    }

    RecodeResult Cast(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                      std::uint64_t height) override
    {
        Run(srcPixels, dstPixels, width, height, [](std::uint8_t v) { return v; });
        return RecodeResult::done;
    }

private:
    template <class Map>
    void Run(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
             std::uint64_t height, const Map& map)
    {
        if (HasAlpha(dst))
            ConvertBlock<Source, FourBytes>(From(srcPixels), To(dstPixels), width, height,
                                            [map](const Source& p) { return Mapped<FourBytes>(p, map); });
        else
            ConvertBlock<Source, ThreeBytes>(From(srcPixels), To(dstPixels), width, height,
                                             [map](const Source& p) { return Mapped<ThreeBytes>(p, map); });
    }

    template <class Target, class Map>
    static Target Mapped(const Source& p, const Map& map) noexcept
    {
        Target t;
        t.r = map(p.r);
        t.g = map(p.g);
        t.b = map(p.b);
        if constexpr (sizeof(Target) == 4 && sizeof(Source) == 4)
            t.a = p.a;
        else if constexpr (sizeof(Target) == 4)
            t.a = 255;
        return t;
    }
};

template <class S, class D>
class recoder_rgb final
    : public recoder_channels<rgb_type<std::uint8_t>, rgb_type<std::uint8_t>, rgba_type<std::uint8_t>>
{
public:
    using recoder_channels::recoder_channels;
};

template <class S, class D>
class recoder_rgb_swap final
    : public recoder_channels<rgb_type<std::uint8_t>, bgr_type<std::uint8_t>, bgra_type<std::uint8_t>>
{
public:
    using recoder_channels::recoder_channels;
};

template <class S, class D>
class recoder_rgba final
    : public recoder_channels<rgba_type<std::uint8_t>, rgb_type<std::uint8_t>, rgba_type<std::uint8_t>>
{
public:
    using recoder_channels::recoder_channels;
};

template <class S, class D>
class recoder_rgba_swap final
    : public recoder_channels<rgba_type<std::uint8_t>, bgr_type<std::uint8_t>, bgra_type<std::uint8_t>>
{
public:
    using recoder_channels::recoder_channels;
};

} // namespace Mardu::Sentel::Tavlo
