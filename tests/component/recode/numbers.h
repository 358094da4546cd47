#pragma once

#include <cstdint>
#include <limits>

/// Values that many cases try.
inline constexpr double infinity = std::numeric_limits<double>::infinity();
inline constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
inline constexpr std::int32_t smallest = std::numeric_limits<std::int32_t>::min();
inline constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max();
