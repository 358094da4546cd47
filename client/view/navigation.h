#pragma once

#include "client/view/scene.h"
#include "client/view/scene_display.h"

namespace Mardu::Sentel::Tavlo::Client::View {

/// Moves through the image: which part the window shows, and which pixel's value is told.
class Navigation
{
public:
    Navigation(Scene& scene, SceneDisplay& display) : scene_(scene), display_(display) {}

    /// The pointer is at this pixel of the picture's part of the window.
    void PointAt(const Point& point);
    /// The pixel whose value is told is to be another one, and to be seen.
    void MoveProbe(std::int32_t dx, std::int32_t dy);

    void PanBy(std::int32_t dx, std::int32_t dy);
    void Fit();
    void ShowOneToOne();
    /// Steps of the ladder of scales, around the probe.
    void Zoom(int steps);
    /// So many units of the wheel, around the pointer; around the middle when it is elsewhere.
    void TurnWheel(int units, int unitsPerStep, const Point& pointer);

private:
    void ZoomAt(int steps, const Point& at);
    void ViewChanged();
    Point ProbePoint() const;

    Scene& scene_;
    SceneDisplay& display_;
    int wheelRest_ = 0;
};

} // namespace Mardu::Sentel::Tavlo::Client::View
