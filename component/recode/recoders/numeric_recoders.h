#pragma once

#include "recode/curve/stepped_table.h"
#include "recode/pixels/sample_field.h"
#include "recode/recoders/curve_table.h"
#include "recode/recoders/packed_rows.h"
#include "recode/recoders/recoder_base.h"

#include <memory>
#include <optional>

namespace Mardu::Sentel::Tavlo {

/// What the families with a table share: an entry for every value of a source of up to
/// 16 bits, so that a pixel costs one load and one store whatever the parameters are.
class TableRecoder : public recoder_base
{
public:
    RecodeResult Recode(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                        std::uint64_t height) override;
    RecodeResult Cast(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                      std::uint64_t height) override;
    void UpdateLUT() override;

protected:
    /// Which bits of a source's elements hold a value.
    struct Source
    {
        Element element;
        SampleField field;
    };

    template <class S>
    static constexpr Source Field(int bits)
    {
        return {ElementOf<S>(), SampleField(bits, std::is_signed_v<S>)};
    }

    TableRecoder(const TavloDescriptorData& source, const TavloDescriptorData& target,
                 const Source& sourceField, Element targetElement, const ValueRange& targetRange);

private:
    void Run(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
             std::uint64_t height, PackedConversion convert);
    void RunFrom(const SourceBlock& source, std::uint8_t* dstPixels, std::uint64_t width,
                 std::uint64_t height, PackedConversion convert);

    bool HasWords() const noexcept { return SizeOf(source_.element).Bytes() == 2; }

    /// What computes entries of pixels faster than they could be looked up, or null.
    CurveKernels::OfField ComputingLoop() const;

    /// The smaller form of the table, where it serves, or null. It is made for images that it pays for.
    const SteppedTable* Stepped(std::uint64_t width, std::uint64_t height);

    Source source_;
    ValueRange range_;
    CurveTable lut_;
    /// Nothing: not known yet. Null: this table has no such form.
    std::optional<std::unique_ptr<SteppedTable>> stepped_;
};

/// Sources that use every bit of an 8- or 16-bit element.
template <class S, class D>
class recoder final : public TableRecoder
{
public:
    recoder(const TavloDescriptorData& source, const TavloDescriptorData& target)
        : TableRecoder(source, target, Field<S>(8 * sizeof(S)), ElementOf<D>(), value_range<D>)
    {
    }
};

/// Sources of 9 to 15 bits, stored in 16-bit elements whose upper bits may hold anything.
template <class S, class D>
class recoder_bits final : public TableRecoder
{
public:
    recoder_bits(const TavloDescriptorData& source, const TavloDescriptorData& target)
        : TableRecoder(source, target, Field<S>(KeyByte(source.Bits)), ElementOf<D>(), value_range<D>)
    {
    }
};

/// To targets of 9 to 15 bits: the range ends where the target's field does.
template <class S, class D>
class recoder_bits_d final : public TableRecoder
{
public:
    recoder_bits_d(const TavloDescriptorData& source, const TavloDescriptorData& target)
        : TableRecoder(source, target, Field<S>(8 * sizeof(S)), ElementOf<D>(),
                       UnsignedFieldRange(KeyByte(target.Bits)))
    {
    }
};

/// 32-bit integer and float sources, for which a table would be too large.
class ComputingRecoder : public recoder_base
{
public:
    RecodeResult Recode(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                        std::uint64_t height) override;
    RecodeResult Cast(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                      std::uint64_t height) override;

protected:
    ComputingRecoder(const TavloDescriptorData& source, const TavloDescriptorData& target,
                     Element sourceElement, Element targetElement)
        : recoder_base(source, target), source_(sourceElement), target_(targetElement)
    {
    }

private:
    Element source_;
    Element target_;
};

template <class S, class D>
class recoder_long final : public ComputingRecoder
{
public:
    recoder_long(const TavloDescriptorData& source, const TavloDescriptorData& target)
        : ComputingRecoder(source, target, ElementOf<S>(), ElementOf<D>())
    {
    }
};

} // namespace Mardu::Sentel::Tavlo
