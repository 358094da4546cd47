#pragma once

#include "recode/pixels/element.h"

#include <cstdint>
#include <optional>

namespace Mardu::Sentel::Tavlo {

/// The pixel types that can be told apart in a copy: kind and size of the stored element,
/// not the exact Bits.
enum class PixelType : int
{
    unsigned8 = 0,
    unsigned16 = 1,
    unsigned32 = 2,
    unsigned64 = 3,
    signed8 = 4,
    signed16 = 5,
    signed32 = 6,
    signed64 = 7,
    float32 = 8,
    float64 = 9,
    complex64 = 10,
    complex64HalfEven = 11,
    complex64HalfOdd = 12,
    complex128 = 13,
    complex128HalfEven = 14,
    complex128HalfOdd = 15,
    rgb = 16,
    rgba = 17,
    bgr = 18,
    bgra = 19,
};

/// Nothing for a pair that is no pixel type.
std::optional<PixelType> FindPixelType(std::int32_t encoding, std::int32_t bits) noexcept;

/// std::invalid_argument "Unsupported Tavlo encoding/bits" for a pair that is no pixel type.
PixelType PixelTypeOf(std::int32_t encoding, std::int32_t bits);

/// The size of one element in a copy; nothing for the types that cannot be copied.
std::optional<PackedSize> ElementSize(PixelType type) noexcept;

} // namespace Mardu::Sentel::Tavlo
