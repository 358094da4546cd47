#include "client/view/rendering.h"

namespace Mardu::Sentel::Tavlo::Client::View {

Rendering RenderingOf(const Scene& scene)
{
    return {ToneOf(scene.levels, scene.range), scene.gamma.Value(), scene.sigma.Value(),
            PointsOf(Ramps()[scene.ramp], scene.isRampTurned)};
}

} // namespace Mardu::Sentel::Tavlo::Client::View
