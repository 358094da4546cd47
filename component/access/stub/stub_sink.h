#pragma once

#include "module/critical_section.h"
#include "module/held_interface.h"
#include "module/object.h"

#include "TavloLib.h"

#include <atomic>

namespace Mardu::Sentel::Tavlo {

/// What a stub subscribes to its image, and what passes updates on to the far end. The image's worker
/// holds it, so it must not hold the stub, which holds the image: then the three would keep each other when
/// the far end is gone.
class CTavloStubSink final : public ComObject<ITavloEvents>
{
public:
    /// Null for a far end that wants no updates.
    void SetHandler(ITavloEvents* handler);

    /// The stub is gone. An image that still has the sink drops it with the next update.
    void End() noexcept;

    STDMETHODIMP OnImageUpdate(ITavlo* pITavlo, RECT* pDirty) override;

private:
    HeldInterface<ITavloEvents> Handler();

    CriticalSection lock_;
    HeldInterface<ITavloEvents> handler_; ///< of the far end, or null
    std::atomic<bool> ended_ = false;
};

} // namespace Mardu::Sentel::Tavlo
