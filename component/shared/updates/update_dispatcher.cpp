#include "shared/updates/update_dispatcher.h"

#include "module/module_thread.h"
#include "shared/updates/pending_rectangle.h"

#include <mutex>
#include <utility>

namespace Mardu::Sentel::Tavlo {
namespace {

/// The handler that a stream carries, for this apartment; null when it cannot be had.
/// The stream is used up.
ComPtr<ITavloEvents> Unmarshal(ComPtr<IStream> stream) noexcept
{
    ComPtr<ITavloEvents> handler;
    const HRESULT hr = CoGetInterfaceAndReleaseStream(stream.Detach(), IID_ITavloEvents,
                                                      reinterpret_cast<void**>(handler.GetAddressOf()));
    if (FAILED(hr))
        handler.Reset();
    return handler;
}

} // namespace

std::shared_ptr<UpdateDispatcher> UpdateDispatcher::Start()
{
    std::shared_ptr<UpdateDispatcher> dispatcher(new UpdateDispatcher);
    dispatcher->thread_ = StartModuleThread([dispatcher] { dispatcher->Work(); });
    return dispatcher;
}

void UpdateDispatcher::Subscribe(ComPtr<IStream> handler)
{
    Queue({Code::Subscribe, std::move(handler)});
}

void UpdateDispatcher::Unsubscribe(ComPtr<IStream> handler)
{
    Queue({Code::Unsubscribe, std::move(handler)});
}

void UpdateDispatcher::Post(const RECT& dirty)
{
    {
        const std::lock_guard lock(pendingLock_);
        pending_ = Merge(pending_, dirty);
    }
    if (deliveryPosted_)
        return;
    deliveryPosted_ = true;
    try {
        Queue({Code::Update, nullptr});
    } catch (...) {
        // The rectangle stays pending for the next update.
        deliveryPosted_ = false;
        throw;
    }
}

void UpdateDispatcher::Stop() noexcept
{
    for (;;) {
        try {
            Append(stop_);
            return;
        } catch (...) {
            // Locking and waking may need a kernel object of their own: the next try has it.
            SwitchToThread();
        }
    }
}

void UpdateDispatcher::Queue(UpdateCommand command)
{
    Commands one;
    one.push_back(std::move(command));
    Append(one);
}

/// Moves the commands to the end of the queue; those of a failed call that wakes nobody, too.
void UpdateDispatcher::Append(Commands& commands)
{
    const boost::unique_lock<boost::mutex> lock(queueMutex_);
    queue_.splice(queue_.end(), commands);
    queueFilled_.notify_one();
}

UpdateDispatcher::UpdateCommand UpdateDispatcher::Take()
{
    boost::unique_lock<boost::mutex> lock(queueMutex_);
    while (queue_.empty())
        queueFilled_.wait(lock);
    UpdateCommand command = std::move(queue_.front());
    queue_.pop_front();
    return command;
}

void UpdateDispatcher::Work()
{
    bool goesOn = true;
    while (goesOn) {
        try {
            goesOn = Execute(Take());
        } catch (...) {
            // Out of memory: this command is lost, the image's other updates are not.
        }
    }
    // Handlers are released in their apartment.
    handlers_.clear();
}

/// False for the command to leave.
bool UpdateDispatcher::Execute(UpdateCommand command)
{
    switch (command.code) {
    case Code::Subscribe:
        if (auto handler = Unmarshal(std::move(command.handler)))
            handlers_.push_back(std::move(handler));
        break;
    case Code::Unsubscribe:
        if (const auto handler = Unmarshal(std::move(command.handler)))
            handlers_ = Without(handlers_, handler.Get());
        break;
    case Code::Update:
        Deliver();
        break;
    case Code::Stop:
        return false;
    }
    return true;
}

void UpdateDispatcher::Deliver()
{
    const RECT dirty = TakePending();
    for (const auto& failed : Notify(handlers_, dirty))
        handlers_ = Without(handlers_, failed.Get());
}

RECT UpdateDispatcher::TakePending()
{
    RECT dirty = {};
    {
        const std::lock_guard lock(pendingLock_);
        std::swap(dirty, pending_);
    }
    deliveryPosted_ = false;
    return dirty;
}

} // namespace Mardu::Sentel::Tavlo
