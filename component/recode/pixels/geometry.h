#pragma once

#include "image/layout.h"

#include <cstdint>

namespace Mardu::Sentel::Tavlo {

/// A rectangle in pixels; right and bottom are exclusive.
struct PixelRect
{
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t right = 0;
    std::int32_t bottom = 0;

    friend bool operator==(const PixelRect&, const PixelRect&) = default;
};

struct PixelPoint
{
    std::int32_t x = 0;
    std::int32_t y = 0;

    friend bool operator==(const PixelPoint&, const PixelPoint&) = default;
};

/// A source rectangle and the target point that it goes to. 64 bits wide, so that no
/// 32-bit rectangle, point or extent can overflow on its way through the checks.
struct Region
{
    std::int64_t left = 0;
    std::int64_t top = 0;
    std::int64_t right = 0;
    std::int64_t bottom = 0;
    std::int64_t x = 0;
    std::int64_t y = 0;

    Region(const PixelRect& rect, const PixelPoint& point) noexcept
        : left(rect.left), top(rect.top), right(rect.right), bottom(rect.bottom), x(point.x), y(point.y)
    {
    }

    std::int64_t Width() const noexcept { return right - left; }
    std::int64_t Height() const noexcept { return bottom - top; }
};

/// All of an image.
inline PixelRect WholeOf(const TavloDescriptorData& descriptor) noexcept
{
    return {0, 0, descriptor.Width, descriptor.Height};
}

} // namespace Mardu::Sentel::Tavlo
