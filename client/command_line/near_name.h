#pragma once

#include <span>
#include <string_view>

namespace Mardu::Sentel::Tavlo::Client {

/// The name that somebody who wrote text probably meant: one that text is the beginning of, or
/// differs from by little. Empty when none is near.
std::string_view NearName(std::string_view text, std::span<const std::string_view> names);

} // namespace Mardu::Sentel::Tavlo::Client
