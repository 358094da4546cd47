#pragma once

#include <functional>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client {

class Console;
class Options;

/// What a command does once its options are known. A failure is an exception.
using Action = std::function<void(const Console& console)>;

/// A line that users can type, and what it is good for.
struct Example
{
    const char* purpose;
    const char* line;
};

/// What the help says about a command beyond its options.
struct Manual
{
    const char* synopsis;    ///< lines, without the program's name
    const char* description; ///< paragraphs with empty lines between them
    std::vector<Example> examples;
    const char* seeAlso;
};

/// One command of the program.
struct Command
{
    const char* name;
    const char* summary;
    /// Declares the command's options and gives what they are filled for.
    Action (*setUp)(Options& options);
    const char* group; ///< under which the overview shows it
    const Manual* manual;
};

} // namespace Mardu::Sentel::Tavlo::Client
