#pragma once

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

namespace Mardu::Sentel::Tavlo {

/// A colour as 0xAABBGGRR: red in the lowest byte, which comes first in memory.
using PackedColor = std::uint32_t;

inline constexpr PackedColor opaqueBlack = 0xFF000000;
inline constexpr PackedColor opaqueWhite = 0xFFFFFFFF;

constexpr PackedColor OpaqueGrey(std::uint8_t value) noexcept
{
    return opaqueBlack + value * 0x010101u;
}

/// Colours of a ramp, asked for one position after the other: those between the same two points as the one
/// before need no search. A copy of the points as they were.
class ColorWalk
{
public:
    /// At least one point.
    explicit ColorWalk(const std::map<double, PackedColor>& points) : points_(points.begin(), points.end()) {}

    /// Each byte interpolated between the control points around a position; before the first
    /// and after the last point, that point's colour.
    PackedColor operator()(double position) noexcept;

private:
    using Point = std::pair<double, PackedColor>;

    PackedColor Search(double position) noexcept;

    std::vector<Point> points_;
    /// The points around the last position that was between two.
    Point from_{0.0, 0};
    Point to_{0.0, 0};
};

/// The colour ramp of the recoders that turn grey into colour.
class recoder_to_color
{
public:
    /// As ColorWalk has it.
    PackedColor ColorAt(double position) const { return Colors()(position); }

    ColorWalk Colors() const { return ColorWalk(colorMap_); }

    /// Adds a control point or replaces the colour of the one at exactly this position. False,
    /// with nothing changed, for NaN, which is no position.
    bool SetColor(double position, PackedColor color);

    /// Back to black at 0 and white at 1.
    void ResetColors();

protected:
    recoder_to_color() = default;
    ~recoder_to_color() = default;

private:
    std::map<double, PackedColor> colorMap_{{0.0, opaqueBlack}, {1.0, opaqueWhite}};
};

} // namespace Mardu::Sentel::Tavlo
