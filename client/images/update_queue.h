#pragma once

#include "client/foundation/component_errors.h"
#include "client/foundation/handle.h"
#include "client/pictures/rectangle.h"

#include <cstdint>
#include <mutex>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client {

/// What has changed, written down for another thread: whoever changes an image waits no longer
/// than that. Of a reader that falls behind the queue keeps so many rectangles, and the last of
/// them grows.
class UpdateQueue
{
public:
    UpdateQueue();

    void Add(const tavlo::rect& changed);

    /// Signalled once for what came since Take.
    HANDLE Event() const noexcept { return event_.get(); }

    struct Updates
    {
        std::vector<Rectangle> rectangles;
        std::int64_t merged = 0; ///< updates that the last rectangle holds besides its own
    };

    /// What came since the last time.
    Updates Take();

    /// The rectangles that wait at most.
    static constexpr std::size_t most = 4096;

private:
    static std::vector<Rectangle> Room();

    const Handle event_;
    std::mutex mutex_;
    Updates updates_;
};

/// Throws a Failure when the subscription has ended because its handler has failed. what continues
/// "cannot ".
void CheckSubscription(const tavlo::subscription& subscription, std::string_view what);

} // namespace Mardu::Sentel::Tavlo::Client
