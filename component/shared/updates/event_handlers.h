#pragma once

#include "module/com_ptr.h"

#include "TavloLib.h"

#include <vector>

namespace Mardu::Sentel::Tavlo {

/// Subscribed handlers in the order of subscription; a handler may be there repeatedly.
using EventHandlers = std::vector<ComPtr<ITavloEvents>>;

/// Tells every handler of an update, in order. Returns those that failed or threw, except such
/// as there is no memory to remember.
EventHandlers Notify(const EventHandlers& handlers, const RECT& dirty) noexcept;

/// The list without the first entry of this handler; the list itself when it has none.
EventHandlers Without(const EventHandlers& handlers, const ITavloEvents* handler);

bool Contains(const EventHandlers& handlers, const ITavloEvents* handler) noexcept;

} // namespace Mardu::Sentel::Tavlo
