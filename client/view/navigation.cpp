#include "client/view/navigation.h"

#include <algorithm>
#include <utility>

namespace Mardu::Sentel::Tavlo::Client::View {

void Navigation::ViewChanged()
{
    display_.RepaintPicture();
    display_.RefreshStatus();
}

void Navigation::PointAt(const Point& point)
{
    const bool wasMarked = std::exchange(scene_.isProbeMarked, false);
    if (scene_.regionStart || scene_.viewport.IsOnImage(point))
        scene_.probe = scene_.viewport.PixelAt(point);
    if (wasMarked || scene_.regionStart)
        display_.RedrawMarks();
    display_.RefreshStatus();
}

void Navigation::MoveProbe(std::int32_t dx, std::int32_t dy)
{
    const auto [width, height] = scene_.viewport.Image();
    scene_.probe = {std::clamp(scene_.probe.x + dx, 0, width - 1),
                    std::clamp(scene_.probe.y + dy, 0, height - 1)};
    scene_.isProbeMarked = true;
    const Point before = scene_.viewport.Origin();
    scene_.viewport.Reveal(scene_.probe);
    if (scene_.viewport.Origin() == before)
        display_.RedrawMarks();
    else
        display_.RepaintPicture();
    display_.RefreshStatus();
}

void Navigation::PanBy(std::int32_t dx, std::int32_t dy)
{
    scene_.viewport.Pan(dx, dy);
    ViewChanged();
}

void Navigation::Fit()
{
    scene_.viewport.Fit();
    ViewChanged();
}

void Navigation::ShowOneToOne()
{
    scene_.viewport.ScaleTo(1, ProbePoint());
    ViewChanged();
}

void Navigation::Zoom(int steps)
{
    ZoomAt(steps, ProbePoint());
}

void Navigation::TurnWheel(int units, int unitsPerStep, const Point& pointer)
{
    wheelRest_ += units;
    const int steps = wheelRest_ / unitsPerStep;
    wheelRest_ -= steps * unitsPerStep;
    const Size window = scene_.viewport.Window();
    const bool isInside =
        pointer.x >= 0 && pointer.y >= 0 && pointer.x < window.width && pointer.y < window.height;
    if (steps != 0)
        ZoomAt(steps, isInside ? pointer : scene_.viewport.Middle());
}

void Navigation::ZoomAt(int steps, const Point& at)
{
    scene_.viewport.Zoom(steps, at);
    ViewChanged();
}

/// Where the window shows the probe; its middle when it does not.
Point Navigation::ProbePoint() const
{
    const auto [x, y] = scene_.probe;
    const Rectangle place = scene_.viewport.ToWindow({x, y, x + 1, y + 1});
    if (IsEmpty(place))
        return scene_.viewport.Middle();
    return {(place.left + place.right) / 2, (place.top + place.bottom) / 2};
}

} // namespace Mardu::Sentel::Tavlo::Client::View
