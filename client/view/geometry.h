#pragma once

#include "client/pictures/rectangle.h"

#include <cstdint>

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

inline Rectangle Whole(const Size& size) noexcept
{
    return {0, 0, size.width, size.height};
}

/// The rectangle between two pixels, both included, inside an image of this size.
Rectangle Between(const Point& a, const Point& b, const Size& image) noexcept;

} // namespace Mardu::Sentel::Tavlo::Client::View
