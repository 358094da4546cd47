#pragma once

#include "conversions/contest.h"

#include <string>
#include <vector>

namespace Bench {

/// Everything that was measured, for tools/bench to make tables of.
std::string ToJson(const std::vector<Outcome>& table, const std::vector<Outcome>& curve);

} // namespace Bench
