#pragma once

#include "client/pictures/control_point.h"

#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client::View {

/// A colour ramp that users choose by name. Its points begin at 0 and end at 1.
struct Ramp
{
    std::string_view name;
    std::span<const ControlPoint> points;
};

/// Grey first.
std::span<const Ramp> Ramps() noexcept;

/// The place of a ramp in Ramps.
std::optional<std::size_t> FindRamp(std::string_view name) noexcept;

/// The points in their order; turned round, what was at 1 is at 0.
std::vector<ControlPoint> PointsOf(const Ramp& ramp, bool isTurned);

/// A colour 0xAABBGGRR as a window shows it: 0x00RRGGBB.
constexpr std::uint32_t ScreenColor(std::uint32_t color) noexcept
{
    return (color & 0xFF) << 16 | (color & 0xFF00) | (color >> 16 & 0xFF);
}

} // namespace Mardu::Sentel::Tavlo::Client::View
