#pragma once

#include "image/encoding.h"
#include "recode/recoders/curve_table.h"
#include "recode/recoders/packed_rows.h"
#include "recode/recoders/recoder_base.h"

namespace Mardu::Sentel::Tavlo {

/// A 256-entry table shared by the families with colour sources.
class ColorTableRecoder : public recoder_base
{
public:
    void UpdateLUT() override;

protected:
    ColorTableRecoder(const TavloDescriptorData& source, const TavloDescriptorData& target, Element entry)
        : recoder_base(source, target), lut_(entry, 256, 0)
    {
    }

    Element Entry() const noexcept { return lut_.Entry(); }
    const std::uint8_t* Table() const noexcept { return lut_.Entries(); }

    /// Every byte is its own entry.
    bool ChangesNothing() const noexcept { return changesNothing_; }

private:
    bool IsIdentity() const noexcept;

    CurveTable lut_;
    bool changesNothing_ = false;
};

/// Colour to grey: the weighted mean of the channels, through the table.
class ColorToGreyRecoder : public ColorTableRecoder
{
public:
    RecodeResult Recode(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                        std::uint64_t height) override;
    RecodeResult Cast(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                      std::uint64_t height) override;

protected:
    using Grey = ColorKernels::Grey ColorKernels::*;

    ColorToGreyRecoder(const TavloDescriptorData& source, const TavloDescriptorData& target, Grey grey,
                       Element targetElement)
        : ColorTableRecoder(source, target, targetElement), grey_(grey)
    {
    }

private:
    void Run(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
             std::uint64_t height, PackedConversion convert);
    void RunThroughGrey(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                        std::uint64_t height, PackedConversion fromGrey);

    Grey grey_;
};

template <class E, class D>
class recoder_rgb2g final : public ColorToGreyRecoder
{
public:
    recoder_rgb2g(const TavloDescriptorData& source, const TavloDescriptorData& target)
        : ColorToGreyRecoder(source, target, &ColorKernels::greyOfRGB, ElementOf<D>())
    {
    }
};

template <class E, class D>
class recoder_bgr2g final : public ColorToGreyRecoder
{
public:
    recoder_bgr2g(const TavloDescriptorData& source, const TavloDescriptorData& target)
        : ColorToGreyRecoder(source, target, &ColorKernels::greyOfBGR, ElementOf<D>())
    {
    }
};

/// True for targets with a fourth byte by their encoding.
constexpr bool HasAlpha(const TavloDescriptorData& descriptor) noexcept
{
    return KeyByte(descriptor.Encoding) == Tavlo_RGBA || KeyByte(descriptor.Encoding) == Tavlo_BGRA;
}

/// Colour to colour: each channel through the table, alpha past it, 255 where the source has
/// none.
class ColorToColorRecoder : public ColorTableRecoder
{
public:
    RecodeResult Recode(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                        std::uint64_t height) override;
    RecodeResult Cast(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                      std::uint64_t height) override;

protected:
    ColorToColorRecoder(const TavloDescriptorData& source, const TavloDescriptorData& target,
                        PackedSize sourceSize, bool isSwapped)
        : ColorTableRecoder(source, target, Element::unsigned8),
          sourceSize_(sourceSize),
          isSwapped_(isSwapped)
    {
    }

private:
    ColorKernels::Layout Layout() const noexcept;
    void Run(const std::uint8_t* table, const std::uint8_t* srcPixels, std::uint8_t* dstPixels,
             std::uint64_t width, std::uint64_t height);

    PackedSize sourceSize_;
    bool isSwapped_;
};

template <class S, class D>
class recoder_rgb final : public ColorToColorRecoder
{
public:
    recoder_rgb(const TavloDescriptorData& source, const TavloDescriptorData& target)
        : ColorToColorRecoder(source, target, PackedSize(3), false)
    {
    }
};

template <class S, class D>
class recoder_rgb_swap final : public ColorToColorRecoder
{
public:
    recoder_rgb_swap(const TavloDescriptorData& source, const TavloDescriptorData& target)
        : ColorToColorRecoder(source, target, PackedSize(3), true)
    {
    }
};

template <class S, class D>
class recoder_rgba final : public ColorToColorRecoder
{
public:
    recoder_rgba(const TavloDescriptorData& source, const TavloDescriptorData& target)
        : ColorToColorRecoder(source, target, PackedSize(4), false)
    {
    }
};

template <class S, class D>
class recoder_rgba_swap final : public ColorToColorRecoder
{
public:
    recoder_rgba_swap(const TavloDescriptorData& source, const TavloDescriptorData& target)
        : ColorToColorRecoder(source, target, PackedSize(4), true)
    {
    }
};

} // namespace Mardu::Sentel::Tavlo
