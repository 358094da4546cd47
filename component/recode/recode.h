#pragma once

#include "recode/pixels/geometry.h"
#include "recode/pixels/result.h"

#include <cstdint>

namespace Mardu::Sentel::Tavlo {

// Conversions of a rectangle of one image into another. `src` and `dst` are byte 0 of the
// images' memory, which is as large as RawDataSize of the descriptors or larger; a null
// rectangle is the whole source, a null point the target's first pixel. Source and target do
// not overlap. Each call stands for itself.

/// Converts with the tone curve at its defaults; equal pixel types are copied like Rewrite
/// does. std::runtime_error for a pair without a recoder.
RecodeResult Recode(const TavloDescriptorData& srcDescr, const std::uint8_t* src,
                    const TavloDescriptorData& dstDescr, std::uint8_t* dst,
                    const PixelRect* srcRect = nullptr, const PixelPoint* dstPoint = nullptr);

/// Copies pixels of the same type, clipped at the target's edges. std::invalid_argument for a
/// rectangle that ends outside the source, a target of negative extent or an unknown pixel
/// type; std::runtime_error for types that differ or cannot be copied.
RecodeResult Rewrite(const TavloDescriptorData& srcDescr, const std::uint8_t* src,
                     const TavloDescriptorData& dstDescr, std::uint8_t* dst,
                     const PixelRect* srcRect = nullptr, const PixelPoint* dstPoint = nullptr);

/// Converts by plain value. std::runtime_error for a pair without a recoder, even when a
/// pointer is null.
RecodeResult Cast(const TavloDescriptorData& srcDescr, const std::uint8_t* src,
                  const TavloDescriptorData& dstDescr, std::uint8_t* dst, const PixelRect* srcRect = nullptr,
                  const PixelPoint* dstPoint = nullptr);

} // namespace Mardu::Sentel::Tavlo
