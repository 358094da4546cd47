#pragma once

#include "image/layout.h"
#include "image/wrapping.h"

#include <windows.h>

namespace Mardu::Sentel::Tavlo {

/// The pixels of a rectangle of an image, without padding between rows.
inline TavloDescriptorData PackedBlock(const TavloDescriptorData& image, const RECT& rect) noexcept
{
    const std::int32_t width = WrappingSubtract(rect.right, rect.left);
    const std::int32_t height = WrappingSubtract(rect.bottom, rect.top);
    const std::int32_t bytes = BytesOfBits(image.Bits);
    return {width, height, image.Bits, image.Encoding, 0, bytes, WrappingMultiply(width, bytes)};
}

/// Its size in bytes, a 32-bit product.
inline std::int32_t SizeOf(const TavloDescriptorData& block) noexcept
{
    return WrappingMultiply(WrappingMultiply(block.Stride_x, block.Height), block.Width);
}

} // namespace Mardu::Sentel::Tavlo
