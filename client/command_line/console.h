#pragma once

#include "client/command_line/json.h"
#include "client/command_line/progress.h"

#include <string_view>

namespace Mardu::Sentel::Tavlo::Client {

/// How the user wants to be spoken to.
struct OutputMode
{
    bool isJson = false;
    bool isQuiet = false;
};

/// Where a command says what it has found or done.
class Console
{
public:
    using Sink = Progress::Sink;
    using Clock = Progress::Clock;

    /// output takes what standard output is to have, terminal the progress; an empty one
    /// shows none.
    Console(OutputMode mode, Sink output, Sink terminal, Clock clock = std::chrono::steady_clock::now);

    /// What the command was run for, as text that may be empty or as JSON.
    void Result(std::string_view text, const Json& object) const;

    /// What it has done on the way. The text is for users who are not --quiet.
    void Note(std::string_view text, const Json& object) const;

    /// Only users who read along see progress, not programs.
    Progress ShowProgress() const;

private:
    OutputMode mode_;
    Sink output_;
    Sink terminal_;
    Clock clock_;
};

} // namespace Mardu::Sentel::Tavlo::Client
