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

    /// The same pixels from another first one on.
    StridedBlock Part(std::uint64_t left, std::uint64_t top) const noexcept
    {
        return {Row(top) + static_cast<std::ptrdiff_t>(left) * strideX, strideX, strideY};
    }
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

/// The plain loop over packed pixels: one load, one call, one store a pixel.
template <class S, class D, class Convert>
void ForEachPixel(const std::uint8_t* src, std::uint8_t* dst, std::size_t count, const Convert& convert)
{
    // A copy of `convert` is a local that no store of a byte can change.
    const Convert local = convert;
    for (std::size_t i = 0; i < count; ++i)
        StorePixel<D>(dst + i * sizeof(D), local(LoadPixel<S>(src + i * sizeof(S))));
}

/// Rows of these many bytes follow one another without a gap on both sides.
inline bool IsOneRow(const SourceBlock& source, const TargetBlock& target, std::ptrdiff_t sourceRow,
                     std::ptrdiff_t targetRow) noexcept
{
    return source.strideY == sourceRow && target.strideY == targetRow;
}

} // namespace Mardu::Sentel::Tavlo
