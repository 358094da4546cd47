#pragma once

#include <string>

namespace Mardu {

/// True when this process's HKEY_CLASSES_ROOT is redirected into the current user's own
/// part of the registry (RegOverridePredefKey), so that registration is per user.
bool IsPerUserRegistration();

/// Registers the type library in a module's resources, per user when that is in effect;
/// throws on failure.
void RegisterTypeLibrary(const std::wstring& module);
void UnregisterTypeLibrary(const std::wstring& module);

} // namespace Mardu
