#include "recode/color_ramp.h"

#include "recode/plain_conversion.h"

#include <cmath>
#include <iterator>

namespace Mardu::Sentel::Tavlo {
namespace {

/// One byte of two colours, weighted by the distances to the other one's position.
PackedColor BlendByte(PackedColor c0, PackedColor c1, int shift, double k0, double t, double k1) noexcept
{
    const auto byte = [shift](PackedColor c) { return static_cast<double>(c >> shift & 0xFF); };
    const double blended = byte(c0) * (k1 - t) / (k1 - k0) + byte(c1) * (t - k0) / (k1 - k0);
    // Positions may be too far apart for their difference; the conversion bears what comes of it.
    return (PlainConversion<std::uint32_t>(blended) & 0xFF) << shift;
}

} // namespace

PackedColor recoder_to_color::ColorAt(double t) const noexcept
{
    // NaN is before every point: no point's position is less than it.
    const auto next = std::isnan(t) ? colorMap.begin() : colorMap.lower_bound(t);
    if (next == colorMap.end())
        return colorMap.rbegin()->second;
    const auto [k1, c1] = *next;
    if (k1 == t || next == colorMap.begin())
        return c1;
    const auto [k0, c0] = *std::prev(next);

    PackedColor color = 0;
    for (int shift = 0; shift < 32; shift += 8)
        color |= BlendByte(c0, c1, shift, k0, t, k1);
    return color;
}

bool recoder_to_color::SetColor(double position, PackedColor color)
{
    if (std::isnan(position))
        return false;
    colorMap.insert_or_assign(position, color);
    return true;
}

void recoder_to_color::ResetColors()
{
    colorMap = {{0.0, opaqueBlack}, {1.0, opaqueWhite}};
}

} // namespace Mardu::Sentel::Tavlo
