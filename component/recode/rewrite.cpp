#include "recode/rewrite.h"

#include "recode/pixels/pixel_type.h"
#include "recode/pixels/strided.h"
#include "recode/recoders/block_copy.h"

#include <algorithm>
#include <optional>
#include <stdexcept>

namespace Mardu::Sentel::Tavlo {
namespace {

/// A rectangle of an image's pixels.
template <class Byte>
struct PixelView
{
    StridedBlock<Byte> pixels;
    std::int64_t width;
    std::int64_t height;
    PixelType type;
};

/// The rectangle must lie in the image, except that left and top are not compared with 0.
template <class Byte>
CopyOutcome MakeView(const TavloDescriptorData& d, Byte* base, const Region& r,
                     std::optional<PixelView<Byte>>& view) noexcept
{
    if (r.left > r.right || r.right > d.Width || r.top > r.bottom || r.bottom > d.Height)
        return CopyOutcome::invalidRectangle;
    const auto type = FindPixelType(d.Encoding, d.Bits);
    if (!type)
        return CopyOutcome::unknownType;
    view = {{PixelAddress(base, d, r.left, r.top), d.Stride_x, d.Stride_y}, r.Width(), r.Height(), *type};
    return CopyOutcome::done;
}

/// An interval of target pixels.
struct Span
{
    std::int64_t begin = 0;
    std::int64_t end = 0;

    std::int64_t Length() const noexcept { return end - begin; }
};

/// The part of [at, at + length) that lies in [0, limit); empty at 0 where there is none.
Span Clipped(std::int64_t at, std::int64_t length, std::int64_t limit) noexcept
{
    const Span span{std::max<std::int64_t>(at, 0), std::min(at + length, limit)};
    return span.begin < span.end ? span : Span{};
}

CopyOutcome CopySameType(const PixelView<const std::uint8_t>& source, const PixelView<std::uint8_t>& target,
                         const TargetBlock& at, std::uint64_t width, std::uint64_t height) noexcept
{
    if (source.type != target.type)
        return CopyOutcome::differentTypes;
    const auto size = ElementSize(target.type);
    if (!size)
        return CopyOutcome::uncopyableType;
    CopyBlock(source.pixels, at, *size, width, height);
    return CopyOutcome::done;
}

} // namespace

CopyOutcome CopyRegion(const TavloDescriptorData& srcDescr, const std::uint8_t* src,
                       const TavloDescriptorData& dstDescr, std::uint8_t* dst, const Region& region) noexcept
{
    if (src == nullptr || dst == nullptr)
        return CopyOutcome::nullPointer;

    std::optional<PixelView<std::uint8_t>> target;
    std::optional<PixelView<const std::uint8_t>> source;
    if (const auto outcome = MakeView(dstDescr, dst, Region(WholeOf(dstDescr), {}), target);
        outcome != CopyOutcome::done)
        return outcome;
    if (const auto outcome = MakeView(srcDescr, src, region, source); outcome != CopyOutcome::done)
        return outcome;

    // What is clipped off the left and the top is not skipped in the source, which always starts
    // at its view's first pixel: docs/recoding.md, "Not checked, on purpose".
    const Span columns = Clipped(region.x, source->width, target->width);
    const Span rows = Clipped(region.y, source->height, target->height);
    const bool empty = columns.Length() == 0 || rows.Length() == 0;
    const TargetBlock at{PixelAddress(dst, dstDescr, columns.begin, rows.begin), dstDescr.Stride_x,
                         dstDescr.Stride_y};
    return CopySameType(*source, *target, at, empty ? 0 : static_cast<std::uint64_t>(columns.Length()),
                        empty ? 0 : static_cast<std::uint64_t>(rows.Length()));
}

RecodeResult ResultOf(CopyOutcome outcome)
{
    switch (outcome) {
    case CopyOutcome::done:
        return RecodeResult::done;
    case CopyOutcome::nullPointer:
        return RecodeResult::nullPointer;
    case CopyOutcome::invalidRectangle:
        throw std::invalid_argument("memory_2d::make_view: invalid rectangle");
    case CopyOutcome::unknownType:
        throw std::invalid_argument("Unsupported Tavlo encoding/bits");
    case CopyOutcome::differentTypes:
        throw std::runtime_error("Rewrite: input and output images must have that same pixel type");
    case CopyOutcome::uncopyableType:
        break;
    }
    throw std::runtime_error("Rewrite: unsupported pixel type");
}

} // namespace Mardu::Sentel::Tavlo
