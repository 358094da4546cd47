#pragma once

#include <string>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace Mardu::Sentel::Tavlo::Client {

/// Adds the required argument, a picture file to read, which fills target.
CLI::Option* AddPicture(CLI::App& options, const std::string& label, std::string& target);

/// Adds the argument OUT, a PNG file to write, which fills target.
CLI::Option* AddOut(CLI::App& options, std::string& target);

/// CLI::ParseError when OUT is missing or no PNG file.
void RequirePng(const std::string& out);

} // namespace Mardu::Sentel::Tavlo::Client
