#pragma once

#include <cstdint>

namespace Mardu::Sentel::Tavlo {

// Geometry is 32-bit two's complement arithmetic on both sides of every process
// boundary: a result that does not fit wraps, and is the same everywhere. These
// spell that out, since plain signed overflow is undefined.

constexpr std::int32_t WrappingAdd(std::int32_t a, std::int32_t b) noexcept
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

constexpr std::int32_t WrappingSubtract(std::int32_t a, std::int32_t b) noexcept
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

constexpr std::int32_t WrappingMultiply(std::int32_t a, std::int32_t b) noexcept
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

/// The absolute value; the smallest number is its own.
constexpr std::int32_t WrappingAbsolute(std::int32_t a) noexcept
{
    return a < 0 ? WrappingSubtract(0, a) : a;
}

/// The whole bytes that hold this many bits, truncating toward zero.
constexpr std::int32_t BytesOfBits(std::int32_t bits) noexcept
{
    return WrappingAdd(bits, 7) / 8;
}

} // namespace Mardu::Sentel::Tavlo
