#pragma once

#include "client/command_line/options.h"

#include <string>

namespace Mardu::Sentel::Tavlo::Client {

/// Adds the required argument, a picture file to read, which fills target.
void AddPicture(Options& options, const std::string& label, std::string& target);

/// Adds the argument OUT, a PNG file to write, which fills target.
void AddOut(Options& options, std::string& target);

/// UsageError when OUT is missing or no PNG file.
void RequirePng(const std::string& out);

} // namespace Mardu::Sentel::Tavlo::Client
