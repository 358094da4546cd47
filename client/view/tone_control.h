#pragma once

#include "client/view/scene.h"
#include "client/view/scene_display.h"

#include <chrono>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client::View {

/// Chooses how values become colours: the levels, the tone curve and the ramp. Measures the values
/// for that, and for the histogram.
class ToneControl
{
public:
    using Time = std::chrono::steady_clock::time_point;

    /// Measures the image and shows it with the levels that suit it.
    ToneControl(Scene& scene, SceneDisplay& display, Time now);

    /// A drag, from its start on, in pixels of a screen of 96 dots per inch.
    void BeginDrag() { dragStart_ = scene_.levels; }
    void Drag(double dx, double dy) { DragFrom(dragStart_, dx, dy); }
    /// Steps of a key that stands for a drag.
    void Step(double dx, double dy);

    void ChooseRamp(std::size_t ramp);
    /// The next one, or a previous one; after the last comes the first.
    void StepRamp(int steps);
    void TurnRamp();
    void StepGamma(int steps);
    void StepSigma(int steps);

    /// Levels that suit the whole image, or a part of it.
    void AdjustToImage();
    void AdjustTo(const Rectangle& part);
    /// AdjustToImage, and from now on at every update, as long as there is a producer; or no longer.
    void ToggleFollowing();
    /// The full range, gamma and sigma 1, the ramp as it is.
    void Reset();

    /// The image is no longer as it was measured.
    void ValuesChanged() noexcept { areValuesOld_ = true; }
    /// Measures the image again when that is due: at once when the updates are at rest or somebody
    /// waits for it, now and then while the histogram is shown.
    void FollowValues(Time now, bool isAtRest, bool isHistogramShown);

private:
    void DragFrom(const Levels& start, double dx, double dy);
    void SetFollowing(bool isFollowing);
    void ToneChanged();
    void Measure(Time now);
    std::vector<Histogram> HistogramsOf(const Rectangle& part) const;

    Scene& scene_;
    SceneDisplay& display_;
    Levels dragStart_;
    bool areValuesOld_ = false;   ///< the histograms are of an earlier picture
    bool isFirstLookDue_ = false; ///< there was nothing to be seen when the window opened
    Time lastMeasure_;
};

} // namespace Mardu::Sentel::Tavlo::Client::View
