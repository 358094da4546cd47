#include "shared/updates/update_subscriptions.h"

#include "module/error.h"

#include <mutex>
#include <stdexcept>
#include <utility>

namespace Mardu::Sentel::Tavlo {
namespace {

/// The handler as a stream for the worker's apartment.
HRESULT MarshalForWorker(ITavloEvents* handler, ComPtr<IStream>& stream)
{
    return CoMarshalInterThreadInterfaceInStream(IID_ITavloEvents, handler, stream.ReleaseAndGetAddressOf());
}

/// Leaves it at that when a step of an update fails: the update itself never does.
template <class Step>
void Attempt(Step step) noexcept
{
    try {
        step();
    } catch (...) {
        return;
    }
}

} // namespace

void UpdateSubscriptions::Subscribe(ITavloEvents* handler, EventMode mode)
{
    if (mode == Tavlo_Synchronous) {
        SubscribeSynchronously(handler);
        return;
    }
    if (mode != Tavlo_Asynchronous)
        throw std::invalid_argument("The event mode is neither Tavlo_Synchronous nor Tavlo_Asynchronous");
    const auto dispatcher = StartedDispatcher();
    ComPtr<IStream> stream;
    CheckHResult(MarshalForWorker(handler, stream));
    dispatcher->Subscribe(std::move(stream));
}

void UpdateSubscriptions::Unsubscribe(ITavloEvents* handler)
{
    if (RemoveFirst(handler))
        return;
    const auto dispatcher = Current().dispatcher;
    ComPtr<IStream> stream;
    if (dispatcher != nullptr && SUCCEEDED(MarshalForWorker(handler, stream)))
        dispatcher->Unsubscribe(std::move(stream));
}

void UpdateSubscriptions::Deliver(const RECT& dirty) noexcept
{
    const Targets targets = Current();
    if (targets.dispatcher != nullptr)
        Attempt([&] { targets.dispatcher->Post(dirty); });
    for (const auto& failed : Notify(*targets.synchronous, dirty))
        Attempt([&] { RemoveFirst(failed.Get()); });
}

void UpdateSubscriptions::Stop() noexcept
{
    if (const auto dispatcher = Current().dispatcher)
        dispatcher->Stop();
}

std::shared_ptr<UpdateDispatcher> UpdateSubscriptions::StartedDispatcher()
{
    const std::lock_guard lock(lock_);
    if (dispatcher_ == nullptr) {
        try {
            dispatcher_ = UpdateDispatcher::Start();
        } catch (const std::exception& error) {
            throw HResultException(E_FAIL, error.what());
        }
    }
    return dispatcher_;
}

// The list of synchronous handlers is never changed, only replaced, and a new one is
// made outside the lock: handlers are foreign objects, and counting their references
// already runs their code.

UpdateSubscriptions::Targets UpdateSubscriptions::Current() noexcept
{
    const std::lock_guard lock(lock_);
    return {dispatcher_, synchronous_};
}

/// Puts replacement in the place of expected and gives the old list back in it; false
/// when another thread was faster.
bool UpdateSubscriptions::Replace(const Snapshot& expected, Snapshot& replacement)
{
    const std::lock_guard lock(lock_);
    if (synchronous_ != expected)
        return false;
    synchronous_.swap(replacement);
    return true;
}

void UpdateSubscriptions::SubscribeSynchronously(ITavloEvents* handler)
{
    for (;;) {
        const Snapshot current = Current().synchronous;
        auto longer = std::make_shared<EventHandlers>(*current);
        longer->emplace_back(handler);
        Snapshot replacement = std::move(longer);
        if (Replace(current, replacement))
            return;
    }
}

bool UpdateSubscriptions::RemoveFirst(ITavloEvents* handler)
{
    for (;;) {
        const Snapshot current = Current().synchronous;
        if (!Contains(*current, handler))
            return false;
        Snapshot replacement = std::make_shared<const EventHandlers>(Without(*current, handler));
        if (Replace(current, replacement))
            return true;
    }
}

} // namespace Mardu::Sentel::Tavlo
