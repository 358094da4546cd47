#include "client/images/update_queue.h"

#include "client/foundation/failure.h"

#include <utility>

namespace Mardu::Sentel::Tavlo::Client {

UpdateQueue::UpdateQueue() : event_(CreateEventW(nullptr, FALSE, FALSE, nullptr))
{
    if (!event_)
        ThrowLastError("wait for updates");
}

std::vector<Rectangle> UpdateQueue::Take()
{
    const std::lock_guard lock(mutex_);
    return std::exchange(updates_, {});
}

void UpdateQueue::Add(const tavlo::rect& changed)
{
    {
        const std::lock_guard lock(mutex_);
        updates_.push_back({changed.left, changed.top, changed.right, changed.bottom});
    }
    SetEvent(event_.get());
}

} // namespace Mardu::Sentel::Tavlo::Client
