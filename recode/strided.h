#pragma once

#include "image/layout.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Mardu::Sentel::Tavlo {

/// Pixels in memory by their first byte and the distances to their neighbours.
template <class Byte>
struct StridedBlock
{
    Byte* first;
    std::ptrdiff_t strideX;
    std::ptrdiff_t strideY;

    Byte* Row(std::uint64_t y) const noexcept { return first + static_cast<std::ptrdiff_t>(y) * strideY; }
};

using SourceBlock = StridedBlock<const std::uint8_t>;
using TargetBlock = StridedBlock<std::uint8_t>;

/// The address of a pixel. Modular arithmetic: a rectangle that nothing checked may lie
/// anywhere, and must not be undefined before a pixel of it is touched.
template <class Byte>
Byte* PixelAddress(Byte* base, const TavloDescriptorData& descriptor, std::int64_t x, std::int64_t y) noexcept
{
    const auto modular = [](std::int64_t value) { return static_cast<std::uint64_t>(value); };
    const std::uint64_t distance = modular(descriptor.Offset) + modular(y) * modular(descriptor.Stride_y) +
                                   modular(x) * modular(descriptor.Stride_x);
    return reinterpret_cast<Byte*>(reinterpret_cast<std::uintptr_t>(base) +
                                   static_cast<std::uintptr_t>(distance));
}

/// Pixels lie at any address, so they are moved as bytes.
template <class Pixel>
Pixel LoadPixel(const std::uint8_t* at) noexcept
{
    Pixel pixel;
    std::memcpy(&pixel, at, sizeof pixel);
    return pixel;
}

template <class Pixel>
void StorePixel(std::uint8_t* at, const Pixel& pixel) noexcept
{
    std::memcpy(at, &pixel, sizeof pixel);
}

/// The inner loop of every conversion and copy: one load, one call, one store a pixel.
template <class S, class D, class Convert>
void ConvertRow(const std::uint8_t* src, std::ptrdiff_t srcStride, std::uint8_t* dst,
                std::ptrdiff_t dstStride, std::uint64_t width, const Convert& convert)
{
    // A copy of `convert` is a local that no store of a byte can change.
    const auto run = [=](auto srcStep, auto dstStep) {
        for (std::ptrdiff_t x = 0; x < static_cast<std::ptrdiff_t>(width); ++x)
            StorePixel<D>(dst + x * dstStep, convert(LoadPixel<S>(src + x * srcStep)));
    };
    // Packed rows know their steps when they are compiled.
    constexpr std::integral_constant<std::ptrdiff_t, sizeof(S)> packedSource;
    constexpr std::integral_constant<std::ptrdiff_t, sizeof(D)> packedTarget;
    if (srcStride == packedSource && dstStride == packedTarget)
        run(packedSource, packedTarget);
    else
        run(srcStride, dstStride);
}

/// The one walk over two blocks: `row` gets the first byte of each source and target row.
template <class Row>
void ForEachRow(const SourceBlock& source, const TargetBlock& target, std::uint64_t height, const Row& row)
{
    for (std::uint64_t y = 0; y < height; ++y)
        row(source.Row(y), target.Row(y));
}

template <class S, class D, class Convert>
void ConvertBlock(const SourceBlock& source, const TargetBlock& target, std::uint64_t width,
                  std::uint64_t height, const Convert& convert)
{
    ForEachRow(source, target, height, [&](const std::uint8_t* src, std::uint8_t* dst) {
        ConvertRow<S, D>(src, source.strideX, dst, target.strideX, width, convert);
    });
}

} // namespace Mardu::Sentel::Tavlo
