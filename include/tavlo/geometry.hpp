/// Rectangles and points, in pixels.
#pragma once

#include <tavlo/com.hpp>

#include <cstdint>

namespace tavlo {

/// A pixel's place.
struct point
{
    std::int32_t x = 0;
    std::int32_t y = 0;

    constexpr operator POINT() const noexcept { return {x, y}; }
    friend constexpr bool operator==(const point&, const point&) = default;
};

/// A block of pixels, from (left, top) up to but not including (right, bottom).
struct rect
{
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t right = 0;
    std::int32_t bottom = 0;

    static constexpr rect from(const RECT& other) noexcept
    {
        return {other.left, other.top, other.right, other.bottom};
    }

    constexpr operator RECT() const noexcept { return {left, top, right, bottom}; }
    constexpr std::int32_t width() const noexcept { return right - left; }
    constexpr std::int32_t height() const noexcept { return bottom - top; }
    constexpr bool empty() const noexcept { return right <= left || bottom <= top; }
    friend constexpr bool operator==(const rect&, const rect&) = default;
};

} // namespace tavlo
