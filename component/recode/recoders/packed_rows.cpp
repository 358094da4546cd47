#include "recode/recoders/packed_rows.h"

#include "recode/recoders/block_copy.h"

#include <algorithm>
#include <cstdlib>

namespace Mardu::Sentel::Tavlo {
namespace {

/// Where pixels that are not packed lie for a moment. Two of them stay in the fastest cache.
struct Staging
{
    static constexpr std::size_t capacity = 8192;
    alignas(64) std::uint8_t bytes[capacity];
};

/// How many pixels of rows and how many rows are staged together.
struct Tile
{
    std::uint64_t width;
    std::uint64_t height;
};

/// A source whose columns lie side by side is read in squares, so that what comes into the cache with
/// one element is used up by its neighbours.
Tile TileFor(const SourceBlock& source, std::size_t pixelSize, std::uint64_t width) noexcept
{
    const std::uint64_t pixels = Staging::capacity / pixelSize;
    if (std::abs(source.strideY) < std::abs(source.strideX))
        return {32, pixels / 32};
    const std::uint64_t fitting = std::min(width, pixels);
    return {fitting, pixels / fitting};
}

} // namespace

void ConvertPacked(const SourceBlock& source, PackedSize sourceSize, const TargetBlock& target,
                   PackedSize targetSize, std::uint64_t width, std::uint64_t height, PackedConversion convert)
{
    if (width == 0 || height == 0)
        return;
    const auto s = static_cast<std::ptrdiff_t>(sourceSize.Bytes());
    const auto d = static_cast<std::ptrdiff_t>(targetSize.Bytes());
    const bool sourcePacked = source.strideX == s;
    const bool targetPacked = target.strideX == d;
    if (sourcePacked && targetPacked) {
        const auto w = static_cast<std::ptrdiff_t>(width);
        if (IsOneRow(source, target, w * s, w * d))
            return convert(source.first, target.first, width * height);
        for (std::uint64_t y = 0; y < height; ++y)
            convert(source.Row(y), target.Row(y), width);
        return;
    }

    Staging before;
    Staging after;
    const Tile tile = TileFor(source, std::max(sourceSize.Bytes(), targetSize.Bytes()), width);
    for (std::uint64_t top = 0; top < height; top += tile.height) {
        const std::uint64_t rows = std::min(tile.height, height - top);
        for (std::uint64_t left = 0; left < width; left += tile.width) {
            const std::uint64_t columns = std::min(tile.width, width - left);
            const SourceBlock from = source.Part(left, top);
            const TargetBlock to = target.Part(left, top);
            const auto stagedRow = static_cast<std::ptrdiff_t>(columns);
            const SourceBlock in = sourcePacked ? from : SourceBlock{before.bytes, s, stagedRow * s};
            const TargetBlock out = targetPacked ? to : TargetBlock{after.bytes, d, stagedRow * d};
            if (!sourcePacked)
                CopyBlock(from, {before.bytes, s, stagedRow * s}, sourceSize, columns, rows);
            for (std::uint64_t y = 0; y < rows; ++y)
                convert(in.Row(y), out.Row(y), columns);
            if (!targetPacked)
                CopyBlock({after.bytes, d, stagedRow * d}, to, targetSize, columns, rows);
        }
    }
}

void ConvertTwice(const Way& way, const std::uint8_t* src, std::uint8_t* dst, std::size_t count,
                  PackedConversion first, PackedConversion second)
{
    alignas(64) std::uint8_t between[2048];
    const std::size_t stretch = sizeof between / way.between.Bytes();
    for (std::size_t done = 0; done < count; done += stretch) {
        const std::size_t now = std::min(count - done, stretch);
        first(src + way.source.Bytes() * done, between, now);
        second(between, dst + way.target.Bytes() * done, now);
    }
}

} // namespace Mardu::Sentel::Tavlo
