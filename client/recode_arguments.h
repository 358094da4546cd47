#pragma once

#include <cstdint>
#include <string_view>

namespace Mardu::Sentel::Tavlo::Client {

/// A colour of the ramp that turns grey into colour.
struct ControlPoint
{
    double position = 0;     ///< 0 to 1
    std::uint32_t color = 0; ///< 0xAABBGGRR, always opaque

    friend bool operator==(const ControlPoint&, const ControlPoint&) = default;
};

/// Reads "POSITION=RRGGBB", with or without a '#' before the colour.
/// std::invalid_argument says what is wrong.
ControlPoint ParseControlPoint(std::string_view text);

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

} // namespace Mardu::Sentel::Tavlo::Client
