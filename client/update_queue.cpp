#include "client/update_queue.h"

#include "client/failure.h"

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

STDMETHODIMP UpdateQueue::OnImageUpdate(ITavlo*, RECT* dirty)
{
    if (dirty == nullptr)
        return S_OK;
    try {
        const std::lock_guard lock(mutex_);
        updates_.push_back({dirty->left, dirty->top, dirty->right, dirty->bottom});
    } catch (const std::exception&) {
        return E_OUTOFMEMORY;
    }
    SetEvent(event_.get());
    return S_OK;
}

} // namespace Mardu::Sentel::Tavlo::Client
