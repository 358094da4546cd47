#pragma once

#include <string_view>

namespace Mardu::Sentel::Tavlo::Client {

/// Writes UTF-8 to standard output at once.
void Print(std::string_view text);

} // namespace Mardu::Sentel::Tavlo::Client
