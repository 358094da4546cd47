#include "recode/curve/color_ramp.h"

#include "recode/curve/plain_conversion.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace Mardu::Sentel::Tavlo {
namespace {

/// Each byte of two colours, weighted by the distances to the other one's position.
PackedColor Blend(const std::pair<double, PackedColor>& from, const std::pair<double, PackedColor>& to,
                  double t) noexcept
{
    const auto [k0, c0] = from;
    const auto [k1, c1] = to;
    PackedColor color = 0;
    for (int shift = 0; shift < 32; shift += 8) {
        const auto byte = [shift](PackedColor c) { return static_cast<double>(c >> shift & 0xFF); };
        const double blended = byte(c0) * (k1 - t) / (k1 - k0) + byte(c1) * (t - k0) / (k1 - k0);
        // Positions may be too far apart for their difference; the conversion bears what comes of it.
        color |= (PlainConversion<std::uint32_t>(blended) & 0xFF) << shift;
    }
    return color;
}

} // namespace

PackedColor ColorWalk::operator()(double t) noexcept
{
    return from_.first < t && t < to_.first ? Blend(from_, to_, t) : Search(t);
}

PackedColor ColorWalk::Search(double t) noexcept
{
    // NaN is before every point: no point's position is less than it.
    const auto isBefore = [](const Point& point, double position) { return point.first < position; };
    const auto next =
        std::isnan(t) ? points_.begin() : std::lower_bound(points_.begin(), points_.end(), t, isBefore);
    if (next == points_.end())
        return points_.back().second;
    if (next->first == t || next == points_.begin())
        return next->second;
    from_ = *std::prev(next);
    to_ = *next;
    return Blend(from_, to_, t);
}

bool recoder_to_color::SetColor(double position, PackedColor color)
{
    if (std::isnan(position))
        return false;
    colorMap_.insert_or_assign(position, color);
    return true;
}

void recoder_to_color::ResetColors()
{
    colorMap_ = {{0.0, opaqueBlack}, {1.0, opaqueWhite}};
}

} // namespace Mardu::Sentel::Tavlo
