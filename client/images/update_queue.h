#pragma once

#include "client/foundation/component_errors.h"
#include "client/foundation/handle.h"
#include "client/pictures/rectangle.h"

#include <mutex>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client {

/// What has changed, written down for another thread: whoever changes an image waits no
/// longer than that.
class UpdateQueue
{
public:
    UpdateQueue();

    void Add(const tavlo::rect& changed);

    /// Signalled once for what came since Take.
    HANDLE Event() const noexcept { return event_.get(); }

    /// The rectangles that came since the last time.
    std::vector<Rectangle> Take();

private:
    const Handle event_;
    std::mutex mutex_;
    std::vector<Rectangle> updates_;
};

} // namespace Mardu::Sentel::Tavlo::Client
