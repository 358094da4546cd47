#pragma once

#include "image/layout.h"
#include "module/noncopyable.h"
#include "recode/curve/tone_curve.h"
#include "recode/pixels/result.h"
#include "recode/pixels/strided.h"

#include <cstdint>

namespace Mardu::Sentel::Tavlo {

/// Converts blocks of pixels of one type into another. The descriptors give the strides;
/// a call gives the first pixels and the extent. One thread at a time.
class recoder_base : private Mardu::NonCopyable
{
public:
    recoder_base(const TavloDescriptorData& source, const TavloDescriptorData& target)
        : src(source), dst(target)
    {
    }
    virtual ~recoder_base() = default;

    /// Converts with the tone curve, as it was at the last UpdateLUT where there is a table.
    virtual RecodeResult Recode(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                                std::uint64_t height) = 0;

    /// Converts each element by its plain value: no scaling, no table.
    virtual RecodeResult Cast(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                              std::uint64_t height) = 0;

    /// Refills the table from the parameters; nothing where there is none.
    virtual void UpdateLUT() {}

    const TavloDescriptorData src;
    const TavloDescriptorData dst;
    double contrast = 1.0;
    double brightness = 0.0;
    double gamma = 1.0;
    double sigma = 1.0;
    /// The next conversion has to call UpdateLUT first.
    bool lutStale = true;

    ToneParameters Tone() const noexcept { return {contrast, brightness, gamma, sigma}; }

protected:
    SourceBlock From(const std::uint8_t* pixels) const noexcept
    {
        return {pixels, src.Stride_x, src.Stride_y};
    }
    TargetBlock To(std::uint8_t* pixels) const noexcept { return {pixels, dst.Stride_x, dst.Stride_y}; }
};

/// One byte of a descriptor's Bits and Encoding tells pixel types apart; the recoders
/// therefore look at no more than that.
constexpr std::int32_t KeyByte(std::int32_t field) noexcept
{
    return field & 0xFF;
}

} // namespace Mardu::Sentel::Tavlo
