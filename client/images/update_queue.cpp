#include "client/images/update_queue.h"

#include "client/foundation/failure.h"

#include <exception>
#include <utility>

namespace Mardu::Sentel::Tavlo::Client {

UpdateQueue::UpdateQueue() : event_(CreateEventW(nullptr, FALSE, FALSE, nullptr)), updates_{Room()}
{
    if (!event_)
        ThrowLastError("wait for updates");
}

/// As much as Add needs, so that it needs no memory on the thread of whoever changes the image.
std::vector<Rectangle> UpdateQueue::Room()
{
    std::vector<Rectangle> rectangles;
    rectangles.reserve(most);
    return rectangles;
}

UpdateQueue::Updates UpdateQueue::Take()
{
    Updates next{Room()};
    const std::lock_guard lock(mutex_);
    return std::exchange(updates_, std::move(next));
}

void UpdateQueue::Add(const tavlo::rect& changed)
{
    const Rectangle added = {changed.left, changed.top, changed.right, changed.bottom};
    {
        const std::lock_guard lock(mutex_);
        std::vector<Rectangle>& waiting = updates_.rectangles;
        if (waiting.size() < most) {
            waiting.push_back(added);
        } else {
            waiting.back() = Hull(waiting.back(), added);
            ++updates_.merged;
        }
    }
    SetEvent(event_.get());
}

void CheckSubscription(const tavlo::subscription& subscription, std::string_view what)
{
    const std::exception_ptr failure = subscription.failure();
    if (!failure)
        return;
    try {
        std::rethrow_exception(failure);
    } catch (const std::exception& reason) {
        throw Failure(E_FAIL, what, std::string("the subscription has ended: ") + reason.what());
    }
}

} // namespace Mardu::Sentel::Tavlo::Client
