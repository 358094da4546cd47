#pragma once

#include <windows.h>

namespace Mardu {

// The module's lock count: every living object, every outside reference to a class
// factory and every server lock counts. At 0 the DLL may be unloaded.

void LockModule() noexcept;
void UnlockModule() noexcept;
LONG ModuleLockCount() noexcept;

/// The module that this code is in.
HMODULE ThisModule() noexcept;

} // namespace Mardu
