#pragma once

#include "client/component.h"
#include "client/handle.h"
#include "client/rectangle.h"

#include <atomic>
#include <mutex>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client {

/// A handler of updates that only writes down what has changed: whoever changes an image
/// waits no longer than that. Made with new; counts its references.
class UpdateQueue final : public ITavloEvents
{
public:
    UpdateQueue();
    UpdateQueue(const UpdateQueue&) = delete;
    UpdateQueue& operator=(const UpdateQueue&) = delete;

    /// Signalled once for what came since Take.
    HANDLE Event() const noexcept { return event_.get(); }

    /// The rectangles that came since the last time.
    std::vector<Rectangle> Take();

    STDMETHODIMP OnImageUpdate(ITavlo* image, RECT* dirty) override;
    STDMETHODIMP QueryInterface(REFIID iid, void** result) override;
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override;

private:
    ~UpdateQueue() = default;

    std::atomic<ULONG> references_ = 0;
    const Handle event_;
    std::mutex mutex_;
    std::vector<Rectangle> updates_;
};

} // namespace Mardu::Sentel::Tavlo::Client
