#pragma once

#include "recode/recoders/numeric_recoders.h"

#include <algorithm>
#include <cstdint>

namespace Mardu::Sentel::Tavlo {

/// A 256-entry table shared by the families with colour sources.
template <class D>
class recoder_from_color : public recoder_base
{
public:
    using recoder_base::recoder_base;

    void UpdateLUT() override
    {
        lut_.Use(ToneCurve(Tone(), 255.0, value_range<D>, ToneCurve::Bounds::whole));
        lut_.RequireAll();
        changesNothing_ = IsIdentity();
    }

protected:
    const D* Table() const noexcept { return lut_.Entries(); }

    /// Every byte is its own entry.
    bool ChangesNothing() const noexcept { return changesNothing_; }

private:
    bool IsIdentity() const noexcept
    {
        if (sizeof(D) != 1)
            return false;
        for (std::size_t i = 0; i < 256; ++i)
            if (lut_.Entries()[i] != static_cast<D>(i))
                return false;
        return true;
    }

    CurveTable<D> lut_{256, 0};
    bool changesNothing_ = false;
};

/// Colour to grey: the weighted mean of the channels, through the table.
template <ColorKernels::Grey ColorKernels::*grey, class D>
class recoder_color2g : public recoder_from_color<D>
{
public:
    using recoder_from_color<D>::recoder_from_color;

    RecodeResult Recode(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                        std::uint64_t height) override
    {
        if (this->ChangesNothing()) {
            Run(srcPixels, dstPixels, width, height, ActiveKernels().color.*grey);
            return RecodeResult::done;
        }
        const auto lookup = ActiveKernels().lookup.from8[SizeIndex(sizeof(D))];
        RunThroughGrey(srcPixels, dstPixels, width, height,
                       [&](const std::uint8_t* greys, std::uint8_t* to, std::size_t count) {
                           lookup(this->Table(), 0xFF, greys, to, count);
                       });
        return RecodeResult::done;
    }

    RecodeResult Cast(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                      std::uint64_t height) override
    {
        RunThroughGrey(srcPixels, dstPixels, width, height,
                       [](const std::uint8_t* greys, std::uint8_t* to, std::size_t count) {
                           ForEachPixel<std::uint8_t, D>(
                               greys, to, count, [](std::uint8_t v) { return PlainConversion<D>(v); });
                       });
        return RecodeResult::done;
    }

private:
    void Run(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
             std::uint64_t height, PackedConversion convert)
    {
        ConvertPacked(this->From(srcPixels), 3, this->To(dstPixels), sizeof(D), width, height, convert);
    }

    /// In stretches whose greys stay in the fastest cache.
    template <class FromGrey>
    void RunThroughGrey(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                        std::uint64_t height, const FromGrey& fromGrey)
    {
        const auto toGrey = ActiveKernels().color.*grey;
        Run(srcPixels, dstPixels, width, height,
            [&](const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
                std::uint8_t greys[2048];
                for (std::size_t done = 0; done < count; done += sizeof greys) {
                    const std::size_t now = std::min(count - done, sizeof greys);
                    toGrey(from + 3 * done, greys, now);
                    fromGrey(greys, to + sizeof(D) * done, now);
                }
            });
    }
};

template <class E, class D>
class recoder_rgb2g final : public recoder_color2g<&ColorKernels::greyOfRGB, D>
{
public:
    using recoder_color2g<&ColorKernels::greyOfRGB, D>::recoder_color2g;
};

template <class E, class D>
class recoder_bgr2g final : public recoder_color2g<&ColorKernels::greyOfBGR, D>
{
public:
    using recoder_color2g<&ColorKernels::greyOfBGR, D>::recoder_color2g;
};

/// True for targets with a fourth byte by their encoding.
constexpr bool HasAlpha(const TavloDescriptorData& descriptor) noexcept
{
    return KeyByte(descriptor.Encoding) == Tavlo_RGBA || KeyByte(descriptor.Encoding) == Tavlo_BGRA;
}

/// Colour to colour: each channel through the table, alpha past it, 255 where the source has
/// none.
template <std::size_t sourceBytes, bool swapped>
class recoder_channels : public recoder_from_color<std::uint8_t>
{
public:
    using recoder_from_color<std::uint8_t>::recoder_from_color;

    RecodeResult Recode(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                        std::uint64_t height) override
    {
        Run(ChangesNothing() ? nullptr : Table(), srcPixels, dstPixels, width, height);
        return RecodeResult::done;
    }

    RecodeResult Cast(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                      std::uint64_t height) override
    {
        Run(nullptr, srcPixels, dstPixels, width, height);
        return RecodeResult::done;
    }

private:
    /// Pixels without alpha become pixels with or without it; those with alpha keep it.
    ColorKernels::Layout Layout() const noexcept
    {
        using enum ColorKernels::Layout;
        if (sourceBytes == 4)
            return swapped ? fourToFourSwapped : fourToFour;
        if (HasAlpha(dst))
            return swapped ? threeToFourSwapped : threeToFour;
        return swapped ? threeToThreeSwapped : threeToThree;
    }

    void Run(const std::uint8_t* table, const std::uint8_t* srcPixels, std::uint8_t* dstPixels,
             std::uint64_t width, std::uint64_t height)
    {
        const auto convert = ActiveKernels().color.convert[Layout()];
        ConvertPacked(From(srcPixels), sourceBytes, To(dstPixels), HasAlpha(dst) ? 4 : 3, width, height,
                      [&](const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
                          convert(table, from, to, count);
                      });
    }
};

template <class S, class D>
class recoder_rgb final : public recoder_channels<3, false>
{
public:
    using recoder_channels::recoder_channels;
};

template <class S, class D>
class recoder_rgb_swap final : public recoder_channels<3, true>
{
public:
    using recoder_channels::recoder_channels;
};

template <class S, class D>
class recoder_rgba final : public recoder_channels<4, false>
{
public:
    using recoder_channels::recoder_channels;
};

template <class S, class D>
class recoder_rgba_swap final : public recoder_channels<4, true>
{
public:
    using recoder_channels::recoder_channels;
};

} // namespace Mardu::Sentel::Tavlo
