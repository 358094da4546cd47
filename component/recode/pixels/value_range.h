#pragma once

#include "recode/pixels/element.h"

#include <array>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace Mardu::Sentel::Tavlo {

/// The values that the tone curve scales from or to.
struct ValueRange
{
    double min;
    double max;
    double span;
};

/// Integers use all values that their type holds, floats the range from 0 to 1.
template <class T>
inline constexpr ValueRange value_range =
    std::is_floating_point_v<T> ? ValueRange{0.0, 1.0, 1.0}
                                : ValueRange{static_cast<double>(std::numeric_limits<T>::min()),
                                             static_cast<double>(std::numeric_limits<T>::max()),
                                             static_cast<double>(std::numeric_limits<T>::max()) -
                                                 static_cast<double>(std::numeric_limits<T>::min())};

constexpr ValueRange RangeOf(Element element) noexcept
{
    constexpr std::array<ValueRange, elementCount> ranges{
        value_range<std::int8_t>,   value_range<std::uint8_t>, value_range<std::int16_t>,
        value_range<std::uint16_t>, value_range<std::int32_t>, value_range<std::uint32_t>,
        value_range<float>,         value_range<double>};
    return ranges[IndexOf(element)];
}

/// The range of an unsigned field of this many bits.
constexpr ValueRange UnsignedFieldRange(int bits) noexcept
{
    const auto last = static_cast<double>((std::int64_t{1} << bits) - 1);
    return {0.0, last, last};
}

/// A value that lies in T's range already; integers are truncated toward zero.
template <class T>
T Quantise(double value) noexcept
{
    // Every integer range lies in 64 bits, the unsigned 32-bit one not in 32 signed ones.
    if constexpr (std::is_same_v<T, std::uint32_t>)
        return static_cast<T>(static_cast<std::int64_t>(value));
    else
        return static_cast<T>(value);
}

} // namespace Mardu::Sentel::Tavlo
