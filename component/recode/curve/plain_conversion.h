#pragma once

#include <limits>
#include <type_traits>

namespace Mardu::Sentel::Tavlo {

/// A value in another type, as the language converts it: integers keep their low bits,
/// floats become integers by truncation toward zero. Where that is undefined, since the
/// truncated float does not fit, the nearest integer that does is taken, and 0 for NaN.
template <class D, class S>
constexpr D PlainConversion(S value) noexcept
{
    if constexpr (std::is_floating_point_v<S> && std::is_integral_v<D>) {
        using Limits = std::numeric_limits<D>;
        // Powers of two are exact in either float type, the largest integers are not.
        // NOLINTNEXTLINE(bugprone-integer-division): half of the largest integer plus one is whole
        constexpr S above = static_cast<S>(Limits::max() / 2 + 1) * S{2};
        constexpr S lowest = static_cast<S>(Limits::min());
        if (value >= above)
            return Limits::max();
        if (value <= lowest)
            return Limits::min();
        if (value != value) // NOLINT(misc-redundant-expression): NaN
            return 0;
    }
    return static_cast<D>(value);
}

} // namespace Mardu::Sentel::Tavlo
