#pragma once

#include <windows.h>

#include <string>

namespace Mardu {

// The module's lock count: every living object, every outside reference to a class
// factory and every server lock counts. At 0 the DLL may be unloaded.

void LockModule() noexcept;
void UnlockModule() noexcept;
LONG ModuleLockCount() noexcept;

/// The module that this code is in.
HMODULE ThisModule() noexcept;

/// The path of its file; throws when it is not known.
std::wstring ThisModulePath();

} // namespace Mardu
