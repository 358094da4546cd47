#pragma once

#include "client/view/navigation.h"
#include "client/view/tone_control.h"

namespace Mardu::Sentel::Tavlo::Client::View {

/// Chooses a region of the image, from a corner to the probe, whose values the levels are to suit.
class RegionSelection
{
public:
    RegionSelection(Scene& scene, SceneDisplay& display, Navigation& navigation, ToneControl& tone)
        : scene_(scene), display_(display), navigation_(navigation), tone_(tone)
    {
    }

    /// Begins where the window shows this point.
    void Begin(const Point& point);
    /// Begins at the probe; ends a region that was begun.
    void Toggle();
    void End();
    void Drop();

private:
    Scene& scene_;
    SceneDisplay& display_;
    Navigation& navigation_;
    ToneControl& tone_;
};

} // namespace Mardu::Sentel::Tavlo::Client::View
