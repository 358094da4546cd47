#include "client/view/ramps.h"

#include <algorithm>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

constexpr ControlPoint At(double position, std::uint32_t rrggbb) noexcept
{
    return {position, 0xFF000000 | (rrggbb & 0xFF) << 16 | (rrggbb & 0xFF00) | rrggbb >> 16};
}

constexpr ControlPoint grey[] = {At(0, 0x000000), At(1, 0xFFFFFF)};

// From night blue through violet and rose to ivory, lighter all the way.
constexpr ControlPoint dusk[] = {At(0, 0x03051A),    At(0.08, 0x0D1238), At(0.18, 0x21226B),
                                 At(0.34, 0x41259B), At(0.47, 0x85269A), At(0.57, 0xD8456F),
                                 At(0.7, 0xF2765A),  At(0.84, 0xFCB35F), At(1, 0xFDF6CF)};

constexpr ControlPoint ember[] = {At(0, 0x000000),    At(0.25, 0x3D0A0A), At(0.5, 0xB3260F),
                                  At(0.75, 0xF58A07), At(0.92, 0xFFE26B), At(1, 0xFFFFFF)};

constexpr ControlPoint ice[] = {At(0, 0x000408), At(0.25, 0x072B4D), At(0.5, 0x0F6C94), At(0.75, 0x4CBBC8),
                                At(1, 0xF2FFFF)};

constexpr ControlPoint moss[] = {At(0, 0x1B0B3B), At(0.25, 0x2F4A7D), At(0.5, 0x1F8A83), At(0.75, 0x6CC25A),
                                 At(1, 0xF9F16A)};

// All hues: for small differences, not for a true impression of lightness.
constexpr ControlPoint spectrum[] = {At(0, 0x1A1033),    At(0.14, 0x3B4CC8), At(0.3, 0x1CA8E0),
                                     At(0.46, 0x2ACF83), At(0.6, 0xB7E03A),  At(0.75, 0xFBB32E),
                                     At(0.88, 0xE5531B), At(1, 0x8A0D04)};

constexpr Ramp ramps[] = {{"grey", grey}, {"dusk", dusk}, {"ember", ember},
                          {"ice", ice},   {"moss", moss}, {"spectrum", spectrum}};

} // namespace

std::span<const Ramp> Ramps() noexcept
{
    return ramps;
}

std::optional<std::size_t> FindRamp(std::string_view name) noexcept
{
    const auto* found = std::ranges::find(ramps, name, &Ramp::name);
    if (found == std::end(ramps))
        return std::nullopt;
    return static_cast<std::size_t>(found - ramps);
}

std::vector<ControlPoint> PointsOf(const Ramp& ramp, bool isTurned)
{
    std::vector<ControlPoint> points(ramp.points.begin(), ramp.points.end());
    if (isTurned) {
        std::ranges::reverse(points);
        for (ControlPoint& point : points)
            point.position = 1 - point.position;
    }
    return points;
}

} // namespace Mardu::Sentel::Tavlo::Client::View
