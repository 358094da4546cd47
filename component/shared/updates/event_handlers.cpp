#include "shared/updates/event_handlers.h"

#include "module/foreign_call.h"

#include <algorithm>
#include <new>

namespace Mardu::Sentel::Tavlo {
namespace {

auto Find(const EventHandlers& handlers, const ITavloEvents* handler) noexcept
{
    return std::find_if(handlers.begin(), handlers.end(),
                        [&](const auto& entry) { return entry.Get() == handler; });
}

/// True when the handler took the update. The image is never passed; the rectangle is a
/// copy, so that no handler changes what the next one sees.
bool Takes(ITavloEvents* handler, RECT dirty) noexcept
{
    try {
        return SUCCEEDED(CallForeign([&] { return handler->OnImageUpdate(nullptr, &dirty); }));
    } catch (...) {
        return false;
    }
}

} // namespace

EventHandlers Notify(const EventHandlers& handlers, const RECT& dirty) noexcept
{
    EventHandlers failed;
    for (const auto& handler : handlers) {
        if (Takes(handler.Get(), dirty))
            continue;
        try {
            failed.push_back(handler);
        } catch (const std::bad_alloc&) {
            // It stays subscribed. The others are told all the same.
        }
    }
    return failed;
}

EventHandlers Without(const EventHandlers& handlers, const ITavloEvents* handler)
{
    EventHandlers rest = handlers;
    const auto found = Find(handlers, handler);
    if (found != handlers.end())
        rest.erase(rest.begin() + (found - handlers.begin()));
    return rest;
}

bool Contains(const EventHandlers& handlers, const ITavloEvents* handler) noexcept
{
    return Find(handlers, handler) != handlers.end();
}

} // namespace Mardu::Sentel::Tavlo
