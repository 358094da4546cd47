#include "client/view/region_selection.h"

namespace Mardu::Sentel::Tavlo::Client::View {

void RegionSelection::Begin(const Point& point)
{
    scene_.probe = scene_.viewport.PixelAt(point);
    scene_.regionStart = scene_.probe;
    display_.RedrawMarks();
}

void RegionSelection::Toggle()
{
    if (scene_.regionStart) {
        End();
        return;
    }
    scene_.regionStart = scene_.probe;
    navigation_.MoveProbe(0, 0);
}

void RegionSelection::End()
{
    const std::optional<Rectangle> region = scene_.Region();
    if (!region)
        return;
    scene_.regionStart.reset();
    tone_.AdjustTo(*region);
}

void RegionSelection::Drop()
{
    scene_.regionStart.reset();
    display_.RedrawMarks();
    display_.RefreshStatus();
}

} // namespace Mardu::Sentel::Tavlo::Client::View
