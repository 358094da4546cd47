#pragma once

#include "client/command.h"

#include <span>
#include <string>

namespace Mardu::Sentel::Tavlo::Client {

/// The help of one command, whose options the parser has, in lines of at most width columns.
std::string ManualPage(const Command& command, const CLI::App& parser, int width);

/// The help of the program, whose own options the parser has.
std::string Overview(std::span<const Command> commands, const Manual& manual, const CLI::App& parser,
                     int width);

} // namespace Mardu::Sentel::Tavlo::Client
