#include "client/command_line.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

constexpr const char* program = "tavlo";
constexpr const char* exitCodes = "Exit codes: 0 done, 1 failed, 2 wrong usage.";

Invocation Refusal(const std::string& command, const std::string& reason)
{
    return {{}, WrongUsage, {}, command + ": " + reason + "\nTry '" + command + " --help'.\n"};
}

/// A parser that takes arguments as they are: a leading '/' begins a path, not an option.
void Configure(CLI::App& parser)
{
    parser.allow_windows_style_options(false);
    parser.set_help_flag("-h,--help", "Print this help and exit");
}

} // namespace

Invocation ReadCommandLine(const std::vector<std::string>& arguments, std::span<const Command> commands,
                           std::string_view version)
{
    const std::string versionLine = std::string(program) + ' ' + std::string(version);
    CLI::App parser("Shares raw images between processes.", program);
    Configure(parser);
    parser.set_version_flag("--version", versionLine, "Print the version and exit");
    parser.require_subcommand(1);
    parser.footer(exitCodes + std::string("\n'tavlo COMMAND --help' explains a command."));

    std::vector<std::pair<CLI::App*, Action>> actions;
    for (const Command& command : commands) {
        CLI::App* options = parser.add_subcommand(command.name, command.summary);
        Configure(*options);
        options->footer(exitCodes);
        actions.emplace_back(options, command.setUp(*options));
    }

    if (arguments.empty())
        return Refusal(program, "a command is needed");
    if (!arguments.front().starts_with('-') &&
        std::ranges::find(commands, arguments.front(), &Command::name) == commands.end())
        return Refusal(program, "there is no command '" + arguments.front() + "'");

    std::string current = program;
    const auto chosen = std::ranges::find(commands, arguments.front(), &Command::name);
    if (chosen != commands.end())
        current += std::string(" ") + chosen->name;
    try {
        // The parser takes its arguments from the back.
        parser.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::CallForHelp&) {
        return {{}, Done, parser.help(), {}};
    } catch (const CLI::CallForVersion&) {
        return {{}, Done, versionLine + "\n", {}};
    } catch (const CLI::ParseError& error) {
        return Refusal(current, error.what());
    }
    const auto parsed =
        std::ranges::find_if(actions, [](const auto& entry) { return entry.first->parsed(); });
    return {parsed->second, Done, {}, {}};
}

} // namespace Mardu::Sentel::Tavlo::Client
