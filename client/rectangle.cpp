#include "client/rectangle.h"

#include "client/fields.h"

#include <stdexcept>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client {

Rectangle ParseRectangle(std::string_view text)
{
    const std::vector<std::string_view> fields = Fields(text);
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

} // namespace Mardu::Sentel::Tavlo::Client
