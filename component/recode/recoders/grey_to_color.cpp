#include "recode/recoders/grey_to_color.h"

#include "recode/recoders/color_recoders.h"

#include <array>
#include <bit>
#include <optional>

namespace Mardu::Sentel::Tavlo {
namespace {

/// Floats from 0 to 1 share 65536 entries, as many as the finest integer source has;
/// values outside, and NaN, take the nearest end, NaN the lower one.
constexpr int floatColorBits = 16;

static_assert(std::endian::native == std::endian::little, "the lowest byte of a colour comes first");

constexpr PackedColor WithRedAndBlueSwapped(PackedColor c) noexcept
{
    return (c & 0xFF00FF00) | (c & 0xFF) << 16 | (c >> 16 & 0xFF);
}

/// Bytes as opaque greys.
void GreysOfFourBytes(const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
{
    ForEachPixel<std::uint8_t, PackedColor>(src, dst, count, [](std::uint8_t v) { return OpaqueGrey(v); });
}

void GreysOfThreeBytes(const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
{
    using Pixel = std::array<std::uint8_t, 3>;
    ForEachPixel<std::uint8_t, Pixel>(src, dst, count, [](std::uint8_t v) { return Pixel{v, v, v}; });
}

/// Floats as positions in the table.
void IndicesOfFloats(const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
{
    static const ToneCurve scale({}, 1.0, value_range<std::uint16_t>, ToneCurve::Bounds::exact);
    const auto& pairs = ActiveKernels().linear.pairs;
    pairs[CurveKernels::SourceIndex(Element::float32)][IndexOf(Element::unsigned16)](scale, src, dst, count);
}

} // namespace

GreyToColorRecoder::GreyToColorRecoder(const TavloDescriptorData& source, const TavloDescriptorData& target,
                                       Element sourceElement)
    : recoder_base(source, target),
      source_(sourceElement),
      swapRB_(KeyByte(target.Encoding) == Tavlo_BGR),
      lut_(std::size_t{1} << (sourceElement == Element::float32 ? floatColorBits : KeyByte(source.Bits)), 0,
           PackedSize(sizeof(PackedColor))),
      colors_(Colors()),
      curve_(CurveOfTable())
{
}

RecodeResult GreyToColorRecoder::Recode(const std::uint8_t* srcPixels, std::uint8_t* dstPixels,
                                        std::uint64_t width, std::uint64_t height)
{
    if (width == 0 || height == 0)
        return RecodeResult::done;
    std::optional<PixelsRead> pixels;
    if (!lut_.IsComplete() && source_ == Element::unsigned16) {
        pixels.emplace(lut_.Count(), From(srcPixels), width, height);
        RequireEntries(pixels->NeededEntries(lut_.Count(), 0, width, height));
    } else {
        RequireEntries({0, lut_.Count() - 1});
    }
    const SourceBlock source = pixels ? pixels->Source() : From(srcPixels);
    const LookupKernels& kernels = ActiveKernels().lookup;
    const auto mask = static_cast<std::uint32_t>(lut_.Count() - 1);
    if (const CompactColors* table = Compact(width, height)) {
        RunIndexed(source, dstPixels, width, height,
                   [&](const std::uint8_t* indices, std::uint8_t* to, std::size_t count) {
                       kernels.compact(*table, mask, indices, to, count);
                   });
        return RecodeResult::done;
    }
    const auto& lookups = source_ == Element::unsigned8 ? kernels.from8 : kernels.from16;
    const auto lookup = lookups[TargetSize().Index()];
    RunIndexed(source, dstPixels, width, height,
               [&](const std::uint8_t* indices, std::uint8_t* to, std::size_t count) {
                   lookup(lut_.Entries(), mask, indices, to, count);
               });
    return RecodeResult::done;
}

/// Of a field's value only the low byte counts, whatever the element's bits above the field hold.
RecodeResult GreyToColorRecoder::Cast(const std::uint8_t* srcPixels, std::uint8_t* dstPixels,
                                      std::uint64_t width, std::uint64_t height)
{
    const Way way{SizeOf(source_), PackedSize(1), TargetSize()};
    const auto toBytes = ActiveKernels().cast.cast[IndexOf(source_)][IndexOf(Element::unsigned8)];
    const auto toGreys = way.target.Bytes() == 4 ? GreysOfFourBytes : GreysOfThreeBytes;
    Run(From(srcPixels), dstPixels, width, height,
        [&](const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
            ConvertTwice(way, from, to, count, toBytes, toGreys);
        });
    return RecodeResult::done;
}

void GreyToColorRecoder::UpdateLUT()
{
    colors_ = Colors();
    curve_ = CurveOfTable();
    lut_.Clear();
    compact_.reset();
}

/// The linear case takes its units from 0 to the last entry, the other one from 0 to 1: docs/recoding.md,
/// "The colour ramp".
double GreyToColorRecoder::LastSource() const noexcept
{
    return Tone().IsLinear() ? static_cast<double>(lut_.Count() - 1) : 1.0;
}

ToneCurve GreyToColorRecoder::CurveOfTable() const noexcept
{
    return ToneCurve(Tone(), LastSource(), value_range<double>, ToneCurve::Bounds::exact);
}

void GreyToColorRecoder::RequireEntries(const IndexRange& needed)
{
    const double unit = curve_.IsLinear() ? 1.0 : static_cast<double>(lut_.Count() - 1);
    lut_.Require(needed, [this, unit](std::size_t first, std::size_t count, std::uint8_t* entries) {
        for (std::size_t i = 0; i < count; ++i) {
            const PackedColor color = colors_(curve_(static_cast<double>(first + i) / unit));
            StorePixel(entries + sizeof color * i, swapRB_ ? WithRedAndBlueSwapped(color) : color);
        }
    });
}

const CompactColors* GreyToColorRecoder::Compact(std::uint64_t width, std::uint64_t height)
{
    const std::uint64_t enough = 8 * lut_.Count();
    if (source_ == Element::unsigned8 || TargetSize().Bytes() != 4 ||
        ActiveKernels().lookup.compact == nullptr || height < enough / width)
        return nullptr;
    if (!compact_)
        compact_ = CompactColors::Of(reinterpret_cast<const PackedColor*>(lut_.Entries()), lut_.Count());
    return compact_->get();
}

/// A fourth byte belongs to a pixel by its encoding, and only where the pixels are that far
/// apart: a descriptor of 24 bits with smaller strides describes no memory for it.
bool GreyToColorRecoder::WritesAlpha() const noexcept
{
    return HasAlpha(dst) && (KeyByte(dst.Bits) == 32 || dst.Stride_x >= 4);
}

void GreyToColorRecoder::Run(const SourceBlock& source, std::uint8_t* dstPixels, std::uint64_t width,
                             std::uint64_t height, PackedConversion convert)
{
    ConvertPacked(source, SizeOf(source_), To(dstPixels), TargetSize(), width, height, convert);
}

void GreyToColorRecoder::RunIndexed(const SourceBlock& source, std::uint8_t* dstPixels, std::uint64_t width,
                                    std::uint64_t height, PackedConversion convert)
{
    if (source_ != Element::float32)
        return Run(source, dstPixels, width, height, convert);
    const Way way{SizeOf(source_), PackedSize(2), TargetSize()};
    const auto toIndices = IndicesOfFloats;
    Run(source, dstPixels, width, height, [&](const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
        ConvertTwice(way, from, to, count, toIndices, convert);
    });
}

} // namespace Mardu::Sentel::Tavlo
