#pragma once

#include "client/foundation/com_object.h"
#include "client/foundation/component_errors.h"
#include "client/view/dirty_rectangles.h"
#include "client/view/updates.h"

#include <mutex>

namespace Mardu::Sentel::Tavlo::Client::View {

/// Takes an image's updates on whatever thread they come, keeps no producer waiting, and
/// tells a window that there are some.
class UpdateListener final : public ComObject<ITavloEvents>
{
public:
    /// Tells this window from now on; null for none.
    void Tell(HWND window);

    Updates Take();

    STDMETHODIMP OnImageUpdate(ITavlo* image, RECT* dirty) override;

private:
    std::mutex mutex_;
    HWND window_ = nullptr;
    DirtyRectangles dirty_;
    Updates updates_;
    bool isTold_ = false;
};

} // namespace Mardu::Sentel::Tavlo::Client::View
