#pragma once

#include "recode/curve/color_ramp.h"
#include "recode/curve/compact_colors.h"
#include "recode/recoders/lazy_table.h"
#include "recode/recoders/packed_rows.h"
#include "recode/recoders/recoder_base.h"

#include <memory>
#include <optional>

namespace Mardu::Sentel::Tavlo {

/// Grey to colour, through a table that the colour ramp and the tone curve fill.
class GreyToColorRecoder : public recoder_base, public recoder_to_color
{
public:
    RecodeResult Recode(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                        std::uint64_t height) override;
    RecodeResult Cast(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                      std::uint64_t height) override;
    void UpdateLUT() override;

protected:
    GreyToColorRecoder(const TavloDescriptorData& source, const TavloDescriptorData& target,
                       Element sourceElement);

private:
    double LastSource() const noexcept;
    ToneCurve CurveOfTable() const noexcept;
    void RequireEntries(const IndexRange& needed);

    /// The smaller form of the table, where it serves, or null. It is made for images that it pays for.
    const CompactColors* Compact(std::uint64_t width, std::uint64_t height);

    bool WritesAlpha() const noexcept;
    PackedSize TargetSize() const noexcept { return WritesAlpha() ? PackedSize(4) : PackedSize(3); }

    void Run(const SourceBlock& source, std::uint8_t* dstPixels, std::uint64_t width, std::uint64_t height,
             PackedConversion convert);

    /// As Run, for a conversion of positions in the table.
    void RunIndexed(const SourceBlock& source, std::uint8_t* dstPixels, std::uint64_t width,
                    std::uint64_t height, PackedConversion convert);

    Element source_;
    bool swapRB_;
    LazyTable lut_;
    /// Nothing: not known yet. Null: this table has no such form.
    std::optional<std::unique_ptr<CompactColors>> compact_;
    ColorWalk colors_;
    ToneCurve curve_;
};

template <class S, class D>
class recoder_g2col final : public GreyToColorRecoder
{
public:
    recoder_g2col(const TavloDescriptorData& source, const TavloDescriptorData& target)
        : GreyToColorRecoder(source, target, ElementOf<S>())
    {
    }
};

} // namespace Mardu::Sentel::Tavlo
