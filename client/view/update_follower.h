#pragma once

#include "client/view/scene.h"
#include "client/view/scene_display.h"
#include "client/view/tone_control.h"
#include "client/view/updates.h"

#include <chrono>

namespace Mardu::Sentel::Tavlo::Client::View {

/// Keeps the picture as the producer has it: at every update its rectangles, the values a little
/// later, and the whole image once the updates have come to rest.
class UpdateFollower
{
public:
    using Time = std::chrono::steady_clock::time_point;

    UpdateFollower(Scene& scene, SceneDisplay& display, ToneControl& tone)
        : scene_(scene), display_(display), tone_(tone)
    {
    }

    void Take(const Updates& updates);

    /// To be called every tick as long as it says so.
    bool OnTick(bool isHistogramShown);
    static constexpr std::chrono::milliseconds tick{100};

    /// Whether ticks are overdue, as when updates come faster than they are drawn.
    bool IsTickOverdue() const;

    /// There will be no more updates.
    void ProducerClosed();

private:
    Scene& scene_;
    SceneDisplay& display_;
    ToneControl& tone_;
    bool isSettled_ = true; ///< the whole image was looked at since the last update
    Time lastTick_;
    Time lastUpdate_;
};

} // namespace Mardu::Sentel::Tavlo::Client::View
