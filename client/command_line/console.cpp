#include "client/command_line/console.h"

#include <utility>

namespace Mardu::Sentel::Tavlo::Client {

Console::Console(OutputMode mode, Sink output, Sink terminal, Clock clock)
    : mode_(mode), output_(std::move(output)), terminal_(std::move(terminal)), clock_(std::move(clock))
{
}

void Console::Result(std::string_view text, const Json& object) const
{
    if (mode_.isJson)
        output_(JsonLine(object));
    else if (!text.empty())
        output_(text);
}

void Console::Note(std::string_view text, const Json& object) const
{
    if (mode_.isJson || !mode_.isQuiet)
        Result(text, object);
}

Progress Console::ShowProgress() const
{
    return Progress(mode_.isJson || mode_.isQuiet ? Sink() : terminal_, clock_);
}

} // namespace Mardu::Sentel::Tavlo::Client
