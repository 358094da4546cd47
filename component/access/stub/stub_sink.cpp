#include "access/stub/stub_sink.h"

#include "module/error.h"
#include "module/foreign_call.h"

#include <mutex>

namespace Mardu::Sentel::Tavlo {

void CTavloStubSink::SetHandler(ITavloEvents* handler)
{
    HeldInterface<ITavloEvents> replaced =
        handler != nullptr ? Hold(handler) : nullptr; // dies after the lock
    const std::lock_guard lock(lock_);
    handler_.swap(replaced);
}

void CTavloStubSink::End() noexcept
{
    ended_ = true;
    SetHandler(nullptr);
}

HRESULT CTavloStubSink::OnImageUpdate(ITavlo*, RECT* pDirty)
{
    if (ended_)
        return CO_E_OBJNOTCONNECTED;
    return Guarded([&] {
        const HeldInterface<ITavloEvents> handler = Handler();
        return handler != nullptr ? CallForeign([&] { return (*handler)->OnImageUpdate(nullptr, pDirty); })
                                  : S_OK;
    });
}

HeldInterface<ITavloEvents> CTavloStubSink::Handler()
{
    const std::lock_guard lock(lock_);
    return handler_;
}

} // namespace Mardu::Sentel::Tavlo
