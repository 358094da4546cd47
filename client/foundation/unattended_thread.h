#pragma once

#include <functional>
#include <string_view>

namespace Mardu::Sentel::Tavlo::Client {

/// Runs `work`, which throws nothing, on a thread that nobody waits for: it may last until the process ends.
/// A std::thread that was detached was seen to lose its work where that was over before.
void RunUnattended(std::function<void()> work, std::string_view purpose);

} // namespace Mardu::Sentel::Tavlo::Client
