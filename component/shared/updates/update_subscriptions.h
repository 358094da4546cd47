#pragma once

#include "module/critical_section.h"
#include "module/noncopyable.h"
#include "shared/updates/event_handlers.h"
#include "shared/updates/update_dispatcher.h"

#include <memory>

namespace Mardu::Sentel::Tavlo {

/// The subscribers of one image. Synchronous ones are called on the thread that
/// invalidates, asynchronous ones by a dispatcher that the first of them brings to life.
/// No lock is held while anything of a handler runs.
class UpdateSubscriptions : private NonCopyable
{
public:
    /// Throws E_INVALIDARG for an unknown mode, E_FAIL when no worker can be had, and the
    /// failure of marshaling the handler to the worker.
    void Subscribe(ITavloEvents* handler, EventMode mode);

    /// Ends one subscription of the handler: the first synchronous one, else the first
    /// asynchronous one. Knows no failure.
    void Unsubscribe(ITavloEvents* handler);

    /// Tells all subscribers; those that fail are dropped. Want of memory costs at most that: the
    /// asynchronous ones are told with the next update, or a failing one is told again.
    void Deliver(const RECT& dirty) noexcept;

    /// Lets the worker go, without waiting for it.
    void Stop() noexcept;

private:
    using Snapshot = std::shared_ptr<const EventHandlers>;

    struct Targets
    {
        std::shared_ptr<UpdateDispatcher> dispatcher; ///< null before the first asynchronous subscription
        Snapshot synchronous;
    };

    Targets Current() noexcept;
    std::shared_ptr<UpdateDispatcher> StartedDispatcher();
    bool Replace(const Snapshot& expected, Snapshot& replacement);
    void SubscribeSynchronously(ITavloEvents* handler);
    bool RemoveFirst(ITavloEvents* handler);

    CriticalSection lock_;
    Snapshot synchronous_ = std::make_shared<const EventHandlers>();
    std::shared_ptr<UpdateDispatcher> dispatcher_;
};

} // namespace Mardu::Sentel::Tavlo
