#pragma once

#include "module/com_ptr.h"
#include "module/critical_section.h"
#include "module/handle.h"
#include "module/noncopyable.h"
#include "shared/updates/event_handlers.h"

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>

#include <atomic>
#include <cstdint>
#include <list>
#include <memory>

namespace Mardu::Sentel::Tavlo {

/// Tells an image's asynchronous subscribers of its updates, on one worker thread. While
/// a delivery is pending, further rectangles are merged into it. The worker owns the
/// dispatcher too: after Stop it works off what is queued and goes, and nobody waits.
///
/// The delivery-posted flag is deliberately read and written outside the lock of the
/// pending rectangle. Several invalidating threads may queue two deliveries, of which
/// the second carries an empty rectangle; and a rectangle that is merged while the
/// worker is between taking the pending one and clearing the flag waits for the next
/// update.
class UpdateDispatcher : private NonCopyable
{
public:
    /// Makes a dispatcher and starts its worker; throws when it cannot.
    static std::shared_ptr<UpdateDispatcher> Start();

    /// The handler comes as a stream that the worker's apartment unmarshals.
    void Subscribe(ComPtr<IStream> handler);
    void Unsubscribe(ComPtr<IStream> handler);

    /// Makes a rectangle due for delivery.
    void Post(const RECT& dirty);

    /// Lets the worker leave after all that was queued before. Needs nothing that could be
    /// lacking, so it cannot fail.
    void Stop() noexcept;

private:
    enum class Code : std::uint32_t
    {
        Subscribe = 0,
        Unsubscribe = 1,
        Update = 2,
        Stop = 3,
    };

    struct UpdateCommand
    {
        Code code;
        ComPtr<IStream> handler; ///< null for updates and the stop
    };

    using Commands = std::list<UpdateCommand>;

    UpdateDispatcher() = default;

    void Queue(UpdateCommand command);
    void Append(Commands& commands);
    UpdateCommand Take();
    void Work();
    bool Execute(UpdateCommand command);
    void Deliver();
    RECT TakePending();

    UniqueHandle thread_;
    boost::mutex queueMutex_;
    boost::condition_variable queueFilled_;
    Commands queue_;
    Commands stop_{{Code::Stop, nullptr}}; ///< made ahead, for the end of the queue
    EventHandlers handlers_;               ///< of the worker's apartment; touched by the worker only
    CriticalSection pendingLock_;
    RECT pending_ = {};
    std::atomic<bool> deliveryPosted_ = false;
};

} // namespace Mardu::Sentel::Tavlo
