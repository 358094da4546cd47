#include "client/console.h"

#include <nlohmann/json.hpp>

#include <utility>

namespace Mardu::Sentel::Tavlo::Client {

Console::Console(Manner manner, Sink output, Sink terminal, Clock clock)
    : manner_(manner), output_(std::move(output)), terminal_(std::move(terminal)), clock_(std::move(clock))
{
}

void Console::Result(std::string_view text, const Json& object) const
{
    if (manner_.isJson)
        output_(JsonLine(object));
    else if (!text.empty())
        output_(text);
}

void Console::Note(std::string_view text, const Json& object) const
{
    if (manner_.isJson || !manner_.isQuiet)
        Result(text, object);
}

Progress Console::ShowProgress() const
{
    return Progress(manner_.isJson || manner_.isQuiet ? Sink() : terminal_, clock_);
}

} // namespace Mardu::Sentel::Tavlo::Client
