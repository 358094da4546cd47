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

} // namespace Mardu::Sentel::Tavlo::Client
