#pragma once

#include <string>
#include <string_view>

namespace Mardu::Sentel::Tavlo::Client {

/// The words of text in lines of at most width columns, each of them indented and ended. A
/// word that is longer has a line of its own. An empty line in text stays.
std::string Wrapped(std::string_view text, int indent, int width);

} // namespace Mardu::Sentel::Tavlo::Client
