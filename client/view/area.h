#pragma once

#include "client/rectangle.h"

#include <cstdint>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client::View {

struct Size
{
    std::int32_t width = 0;
    std::int32_t height = 0;

    friend bool operator==(const Size&, const Size&) = default;
};

/// A pixel of the picture's part of the window.
struct Point
{
    std::int32_t x = 0;
    std::int32_t y = 0;

    friend bool operator==(const Point&, const Point&) = default;
};

/// A place in the image; pixel (x, y) reaches from x to x + 1 and from y to y + 1.
struct Place
{
    double x = 0;
    double y = 0;
};

inline bool IsEmpty(const Rectangle& r) noexcept
{
    return r.left >= r.right || r.top >= r.bottom;
}

inline Rectangle Whole(const Size& size) noexcept
{
    return {0, 0, size.width, size.height};
}

inline std::int64_t PixelsOf(const Rectangle& r) noexcept
{
    return IsEmpty(r) ? 0 : (std::int64_t{r.right} - r.left) * (std::int64_t{r.bottom} - r.top);
}

/// What both hold; an empty rectangle when that is nothing.
Rectangle Intersection(const Rectangle& a, const Rectangle& b) noexcept;

/// The smallest rectangle that holds both; empty ones count for nothing.
Rectangle Hull(const Rectangle& a, const Rectangle& b) noexcept;

/// The rectangle between two pixels, both included, inside an image of this size.
Rectangle Between(const Point& a, const Point& b, const Size& image) noexcept;

/// Rectangles that wait to be drawn: few, and not much larger in sum than what was added.
class DirtyArea
{
public:
    void Add(const Rectangle& rectangle);
    bool IsEmpty() const noexcept { return rectangles_.empty(); }
    /// All that was added since the last call.
    std::vector<Rectangle> Take();

private:
    std::vector<Rectangle> rectangles_;
};

} // namespace Mardu::Sentel::Tavlo::Client::View
