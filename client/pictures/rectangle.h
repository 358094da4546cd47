#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Mardu::Sentel::Tavlo::Client {

/// Pixels of a picture; right and bottom are exclusive.
struct Rectangle
{
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t right = 0;
    std::int32_t bottom = 0;

    friend bool operator==(const Rectangle&, const Rectangle&) = default;
};

/// Reads "LEFT,TOP,RIGHT,BOTTOM" of at least one pixel at places that a picture can have.
/// std::invalid_argument says what is wrong.
Rectangle ParseRectangle(std::string_view text);

/// The rectangle in the form that ParseRectangle reads.
std::string RectangleText(const Rectangle& rectangle);

inline bool IsEmpty(const Rectangle& r) noexcept
{
    return r.left >= r.right || r.top >= r.bottom;
}

inline std::int64_t PixelsOf(const Rectangle& r) noexcept
{
    return IsEmpty(r) ? 0 : (std::int64_t{r.right} - r.left) * (std::int64_t{r.bottom} - r.top);
}

/// What both hold; an empty rectangle when that is nothing.
Rectangle Intersection(const Rectangle& a, const Rectangle& b) noexcept;

/// The smallest rectangle that holds both; empty ones count for nothing.
Rectangle Hull(const Rectangle& a, const Rectangle& b) noexcept;

} // namespace Mardu::Sentel::Tavlo::Client
