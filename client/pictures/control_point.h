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

} // namespace Mardu::Sentel::Tavlo::Client
