#pragma once

#include "client/command_line/command.h"
#include "client/command_line/options.h"

#include <span>
#include <string>

namespace Mardu::Sentel::Tavlo::Client {

/// The help of one command, in lines of at most width columns.
std::string ManualPage(const Command& command, const Options& options, int width);

/// The help of the program, whose own options these are.
std::string Overview(std::span<const Command> commands, const Manual& manual, const Options& options,
                     int width);

} // namespace Mardu::Sentel::Tavlo::Client
