#pragma once

#include "module/handle.h"

#include <functional>

namespace Mardu {

/// Starts a thread of the component's own in the multithreaded apartment. It keeps the
/// module locked and loaded until it has left the module's code, so that nobody can
/// unload it from under the thread. Exceptions end the work silently. Returns the
/// thread's handle; throws when no thread can be started.
UniqueHandle StartModuleThread(std::function<void()> work);

} // namespace Mardu
