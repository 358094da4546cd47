#include "client/view/update_listener.h"

#include "client/view/messages.h"

#include <utility>

namespace Mardu::Sentel::Tavlo::Client::View {

void UpdateListener::Tell(HWND window)
{
    const std::scoped_lock lock(mutex_);
    window_ = window;
    isTold_ = window_ != nullptr && !updates_.times.empty() && PostMessageW(window_, ImageUpdated, 0, 0);
}

Updates UpdateListener::Take()
{
    const std::scoped_lock lock(mutex_);
    isTold_ = false;
    updates_.dirty = dirty_.Take();
    const Rectangle last = updates_.last;
    return std::exchange(updates_, Updates{{}, {}, last});
}

STDMETHODIMP UpdateListener::OnImageUpdate(ITavlo*, RECT* dirty)
{
    // A failure would end the subscription. One of memory leaves the window a little behind, until
    // the next update or the look at the whole image that follows a stream of them.
    try {
        const std::scoped_lock lock(mutex_);
        updates_.last = {dirty->left, dirty->top, dirty->right, dirty->bottom};
        dirty_.Add(updates_.last);
        updates_.times.push_back(std::chrono::steady_clock::now());
        if (!isTold_ && window_ != nullptr)
            isTold_ = PostMessageW(window_, ImageUpdated, 0, 0);
    } catch (const std::exception&) {
        return S_FALSE;
    }
    return S_OK;
}

} // namespace Mardu::Sentel::Tavlo::Client::View
