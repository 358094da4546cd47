#pragma once

#include "client/command_line/console.h"

#include <string>

namespace Mardu::Sentel::Tavlo::Client {

/// What a registration has done with one of its files.
enum class StepResult
{
    Registered,
    Unregistered,
    NotRegistered, ///< there was nothing to unregister
    Kept,          ///< it is another component's
};

/// One thing that is registered, as users and programs read about it.
struct Registrable
{
    const char* text;
    const char* json;
};

inline constexpr Registrable component = {"the component", "component"};
inline constexpr Registrable proxies = {"its proxies", "proxies"};
inline constexpr Registrable commonLibrary = {"the common type library", "common_library"};

/// Says what was done; file may be empty.
void TellStep(const Console& console, StepResult result, const Registrable& what, const std::string& file,
              bool isForUser);

} // namespace Mardu::Sentel::Tavlo::Client
