#pragma once

#include <cstdint>
#include <functional>

namespace Mardu::Sentel::Tavlo::Client {

/// Is told how many of all parts of some work are done; total is at least 1. Empty where nobody
/// wants to know.
using PartsDone = std::function<void(std::int64_t done, std::int64_t total)>;

} // namespace Mardu::Sentel::Tavlo::Client
