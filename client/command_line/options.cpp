#include "client/command_line/options.h"

namespace Mardu::Sentel::Tavlo::Client {

MissingError Missing(const std::string& name)
{
    return MissingError(name + " is required");
}

UsageError Excluding(const std::string& name, const std::string& other)
{
    return UsageError(name + " excludes " + other);
}

UsageError WrongValue(const std::string& name, const std::string& why)
{
    return UsageError(name + ": " + why);
}

Option& Options::AddFlag(std::string name, bool& target, std::string help)
{
    return Add({.name = std::move(name), .form = {}, .help = std::move(help), .flag = &target});
}

std::function<void(const std::string&)> StoreIn(std::string& target)
{
    return [&target](const std::string& text) { target = text; };
}

} // namespace Mardu::Sentel::Tavlo::Client
