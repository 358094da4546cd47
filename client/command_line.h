#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
}

namespace Mardu::Sentel::Tavlo::Client {

/// What a command does once its options are known. A failure is an exception.
using Action = std::function<void()>;

/// One command of the program.
struct Command
{
    const char* name;
    const char* summary;
    /// Adds the command's options to its parser and gives what they are filled for.
    Action (*setUp)(CLI::App& options);
};

enum ExitCode : int
{
    Done = 0,
    Failed = 1,
    WrongUsage = 2,
};

/// What to do for a command line: run action when there is one, else print the texts
/// and end with exitCode.
struct Invocation
{
    Action action;
    ExitCode exitCode = Done;
    std::string output; ///< for standard output
    std::string errors; ///< for standard error
};

/// Reads UTF-8 arguments without the program's own name.
Invocation ReadCommandLine(const std::vector<std::string>& arguments, std::span<const Command> commands,
                           std::string_view version);

} // namespace Mardu::Sentel::Tavlo::Client
