#pragma once

#include "client/com_object.h"
#include "client/component.h"
#include "client/handle.h"
#include "client/rectangle.h"

#include <mutex>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client {

/// A handler of updates that only writes down what has changed: whoever changes an image
/// waits no longer than that.
class UpdateQueue final : public ComObject<ITavloEvents>
{
public:
    UpdateQueue();

    /// Signalled once for what came since Take.
    HANDLE Event() const noexcept { return event_.get(); }

    /// The rectangles that came since the last time.
    std::vector<Rectangle> Take();

    STDMETHODIMP OnImageUpdate(ITavlo* image, RECT* dirty) override;

private:
    const Handle event_;
    std::mutex mutex_;
    std::vector<Rectangle> updates_;
};

} // namespace Mardu::Sentel::Tavlo::Client
