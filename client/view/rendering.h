#pragma once

#include "client/view/scene.h"

#include <vector>

namespace Mardu::Sentel::Tavlo::Client::View {

/// How values become colours.
struct Rendering
{
    Tone tone;
    double gamma = 1;
    double sigma = 1;
    std::vector<ControlPoint> ramp;
};

/// What makes a recoder show the scene's levels and colours.
Rendering RenderingOf(const Scene& scene);

} // namespace Mardu::Sentel::Tavlo::Client::View
