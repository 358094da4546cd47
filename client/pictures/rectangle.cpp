#include "client/pictures/rectangle.h"

#include "client/foundation/text_parsing.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client {

Rectangle ParseRectangle(std::string_view text)
{
    const std::vector<std::string_view> fields = Split(text);
    if (fields.size() != 4)
        throw std::invalid_argument("a rectangle is the four values L,T,R,B, not " + Quoted(text));
    const Rectangle rectangle{ParseNumberFrom(0, "L", fields[0]), ParseNumberFrom(0, "T", fields[1]),
                              ParseNumber("R", fields[2]), ParseNumber("B", fields[3])};
    if (rectangle.right <= rectangle.left)
        throw std::invalid_argument("R must be greater than L, not " + Quoted(fields[2]));
    if (rectangle.bottom <= rectangle.top)
        throw std::invalid_argument("B must be greater than T, not " + Quoted(fields[3]));
    return rectangle;
}

std::string RectangleText(const Rectangle& rectangle)
{
    return std::to_string(rectangle.left) + ',' + std::to_string(rectangle.top) + ',' +
           std::to_string(rectangle.right) + ',' + std::to_string(rectangle.bottom);
}

Rectangle Intersection(const Rectangle& a, const Rectangle& b) noexcept
{
    const Rectangle both = {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
                            std::min(a.bottom, b.bottom)};
    return IsEmpty(both) ? Rectangle{} : both;
}

Rectangle Hull(const Rectangle& a, const Rectangle& b) noexcept
{
    if (IsEmpty(a))
        return b;
    if (IsEmpty(b))
        return a;
    return {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
            std::max(a.bottom, b.bottom)};
}

} // namespace Mardu::Sentel::Tavlo::Client
