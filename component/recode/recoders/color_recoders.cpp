#include "recode/recoders/color_recoders.h"

namespace Mardu::Sentel::Tavlo {

void ColorTableRecoder::UpdateLUT()
{
    lut_.Use(ToneCurve(Tone(), 255.0, RangeOf(Entry()), ToneCurve::Bounds::whole));
    lut_.RequireAll();
    changesNothing_ = IsIdentity();
}

bool ColorTableRecoder::IsIdentity() const noexcept
{
    if (SizeOf(Entry()).Bytes() != 1)
        return false;
    for (std::size_t i = 0; i < 256; ++i)
        if (Table()[i] != i)
            return false;
    return true;
}

RecodeResult ColorToGreyRecoder::Recode(const std::uint8_t* srcPixels, std::uint8_t* dstPixels,
                                        std::uint64_t width, std::uint64_t height)
{
    if (ChangesNothing()) {
        Run(srcPixels, dstPixels, width, height, ActiveKernels().color.*grey_);
        return RecodeResult::done;
    }
    const auto lookup = ActiveKernels().lookup.from8[SizeOf(Entry()).Index()];
    RunThroughGrey(srcPixels, dstPixels, width, height,
                   [&](const std::uint8_t* greys, std::uint8_t* to, std::size_t count) {
                       lookup(Table(), 0xFF, greys, to, count);
                   });
    return RecodeResult::done;
}

RecodeResult ColorToGreyRecoder::Cast(const std::uint8_t* srcPixels, std::uint8_t* dstPixels,
                                      std::uint64_t width, std::uint64_t height)
{
    RunThroughGrey(srcPixels, dstPixels, width, height,
                   ActiveKernels().cast.cast[IndexOf(Element::unsigned8)][IndexOf(Entry())]);
    return RecodeResult::done;
}

void ColorToGreyRecoder::Run(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                             std::uint64_t height, PackedConversion convert)
{
    ConvertPacked(From(srcPixels), PackedSize(3), To(dstPixels), SizeOf(Entry()), width, height, convert);
}

void ColorToGreyRecoder::RunThroughGrey(const std::uint8_t* srcPixels, std::uint8_t* dstPixels,
                                        std::uint64_t width, std::uint64_t height, PackedConversion fromGrey)
{
    const Way way{PackedSize(3), PackedSize(1), SizeOf(Entry())};
    const ColorKernels::Grey toGrey = ActiveKernels().color.*grey_;
    Run(srcPixels, dstPixels, width, height,
        [&](const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
            ConvertTwice(way, from, to, count, toGrey, fromGrey);
        });
}

RecodeResult ColorToColorRecoder::Recode(const std::uint8_t* srcPixels, std::uint8_t* dstPixels,
                                         std::uint64_t width, std::uint64_t height)
{
    Run(ChangesNothing() ? nullptr : Table(), srcPixels, dstPixels, width, height);
    return RecodeResult::done;
}

RecodeResult ColorToColorRecoder::Cast(const std::uint8_t* srcPixels, std::uint8_t* dstPixels,
                                       std::uint64_t width, std::uint64_t height)
{
    Run(nullptr, srcPixels, dstPixels, width, height);
    return RecodeResult::done;
}

/// Pixels without alpha become pixels with or without it; those with alpha keep it.
ColorKernels::Layout ColorToColorRecoder::Layout() const noexcept
{
    using enum ColorKernels::Layout;
    if (sourceSize_.Bytes() == 4)
        return isSwapped_ ? fourToFourSwapped : fourToFour;
    if (HasAlpha(dst))
        return isSwapped_ ? threeToFourSwapped : threeToFour;
    return isSwapped_ ? threeToThreeSwapped : threeToThree;
}

void ColorToColorRecoder::Run(const std::uint8_t* table, const std::uint8_t* srcPixels,
                              std::uint8_t* dstPixels, std::uint64_t width, std::uint64_t height)
{
    const auto convert = ActiveKernels().color.convert[Layout()];
    ConvertPacked(From(srcPixels), sourceSize_, To(dstPixels), HasAlpha(dst) ? PackedSize(4) : PackedSize(3),
                  width, height, [&](const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
                      convert(table, from, to, count);
                  });
}

} // namespace Mardu::Sentel::Tavlo
