#pragma once

#include "client/command_line/command.h"
#include "client/command_line/console.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client {

enum ExitCode : int
{
    Done = 0,
    Failed = 1,
    WrongUsage = 2,
};

/// What to do for a command line: run action in this mode when there is one, else print the
/// texts and end with exitCode.
struct Invocation
{
    Action action;
    OutputMode mode;
    ExitCode exitCode = Done;
    std::string output; ///< for standard output
    std::string errors; ///< for standard error
};

/// The program as the command line sees it.
struct Program
{
    std::span<const Command> commands;
    const Manual& manual;
    std::string_view version;
};

/// Whether the user asks for JSON, which the answer to wrong usage is to be in already.
bool AsksForJson(std::span<const std::string> arguments);

/// What standard error is to have about an error; code is its HRESULT as text, or empty.
std::string ErrorText(const std::string& error, const std::string& code, bool isJson);

/// Reads UTF-8 arguments without the program's own name. Help has lines of at most width columns.
Invocation ReadCommandLine(const std::vector<std::string>& arguments, const Program& program, int width);

} // namespace Mardu::Sentel::Tavlo::Client
