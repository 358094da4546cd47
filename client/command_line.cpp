#include "client/command_line.h"

#include "client/manual_page.h"
#include "client/near_name.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <iterator>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

constexpr const char* programName = "tavlo";

/// A parser that takes arguments as they are: a leading '/' begins a path, not an option.
void AddCommonOptions(CLI::App& parser, Manner& manner)
{
    parser.allow_windows_style_options(false);
    parser.add_flag("--json", manner.isJson, "Print results and errors as JSON, an object a line");
    parser.add_flag("-q,--quiet", manner.isQuiet, "Print no notes and show no progress");
    parser.set_help_flag("-h,--help", "Print this help and exit");
}

/// Before two dashes end the options.
bool HasOption(std::span<const std::string> arguments, std::string_view name)
{
    const auto end = std::ranges::find(arguments, "--");
    return std::find(arguments.begin(), end, name) != end;
}

/// By its name, or by its letter alone or among others.
bool AsksForHelp(std::span<const std::string> arguments)
{
    const auto end = std::ranges::find(arguments, "--");
    return std::any_of(arguments.begin(), end, [](const std::string& text) {
        return text == "--help" ||
               (text.starts_with('-') && !text.starts_with("--") && text.find('h') != std::string::npos);
    });
}

/// The parsers of the program and its commands, and what they have read.
class Parser
{
public:
    explicit Parser(const Program& program)
        : program_(program), app_("share raw images between processes", programName)
    {
        for (const Command& command : program.commands)
            Add(command);
        AddCommonOptions(app_, manner_);
        app_.set_version_flag("--version", std::string(program.version), "Print the version and exit");
        app_.require_subcommand(1);
    }

    Invocation Read(const std::vector<std::string>& arguments, int width);

private:
    struct Entry
    {
        const Command* command;
        CLI::App* parser;
        Action action;
    };

    void Add(const Command& command)
    {
        CLI::App* const options = app_.add_subcommand(command.name, command.summary);
        Action action = command.setUp(*options);
        AddCommonOptions(*options, manner_);
        entries_.push_back({&command, options, std::move(action)});
    }

    const Entry* Find(std::string_view name) const
    {
        const auto found =
            std::ranges::find(entries_, name, [](const Entry& entry) { return entry.command->name; });
        return found == entries_.end() ? nullptr : &*found;
    }

    /// The page of one command, or of the program when there is no entry.
    std::string Help(const Entry* entry, int width) const
    {
        return entry != nullptr ? ManualPage(*entry->command, *entry->parser, width)
                                : Overview(program_.commands, program_.manual, app_, width);
    }

    Invocation NoCommand(const std::string& name, bool isJson) const;
    void Parse(const std::vector<std::string>& arguments);

    const Program& program_;
    Manner manner_;
    CLI::App app_;
    std::vector<Entry> entries_;
};

Invocation Refusal(const std::string& error, const std::string& help, bool isJson)
{
    std::string text = ErrorText(error, {}, isJson);
    if (!isJson)
        text += "Try '" + help + "'.\n";
    return {{}, {}, WrongUsage, {}, std::move(text)};
}

Invocation Answer(std::string output)
{
    return {{}, {}, Done, std::move(output), {}};
}

Invocation Parser::NoCommand(const std::string& name, bool isJson) const
{
    std::vector<std::string_view> names = {"help"};
    std::ranges::transform(program_.commands, std::back_inserter(names), &Command::name);
    std::string error = "tavlo: there is no command '" + name + "'";
    if (const std::string_view near = NearName(name, names); !near.empty())
        error += ". Did you mean '" + std::string(near) + "'?";
    return Refusal(error, "tavlo help", isJson);
}

/// A command's parser hands what it has no place for to the program's, which does not know that two dashes
/// have ended the options.
void Parser::Parse(const std::vector<std::string>& arguments)
{
    try {
        // The parser takes its arguments from the back.
        app_.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::CallForHelp&) {
        if (AsksForHelp(arguments))
            throw;
        throw CLI::ExtrasError({"--help"});
    } catch (const CLI::CallForVersion&) {
        if (HasOption(arguments, "--version"))
            throw;
        throw CLI::ExtrasError({"--version"});
    }
    if (manner_.isJson && !AsksForJson(arguments))
        throw CLI::ExtrasError({"--json"});
    if (manner_.isQuiet && !HasOption(arguments, "-q") && !HasOption(arguments, "--quiet"))
        throw CLI::ExtrasError({"--quiet"});
}

Invocation Parser::Read(const std::vector<std::string>& arguments, int width)
{
    const bool isJson = AsksForJson(arguments);
    const auto word =
        std::ranges::find_if(arguments, [](const std::string& text) { return !text.starts_with('-'); });
    const Entry* entry = word == arguments.end() ? nullptr : Find(*word);
    if (word != arguments.end() && entry == nullptr)
        return NoCommand(*word, isJson);

    const std::string self = programName + (entry == nullptr ? "" : " " + std::string(entry->command->name));
    try {
        Parse(arguments);
    } catch (const CLI::CallForHelp&) {
        return Answer(Help(entry, width));
    } catch (const CLI::CallForVersion&) {
        const std::string version(program_.version);
        return Answer(isJson ? JsonLine({{"program", programName}, {"version", version}})
                             : std::string(programName) + ' ' + version + '\n');
    } catch (const CLI::ParseError& error) {
        const bool isMissing = entry == nullptr && dynamic_cast<const CLI::RequiredError*>(&error) != nullptr;
        return Refusal(self + ": " + (isMissing ? "a command is needed" : error.what()), self + " --help",
                       isJson);
    }
    return {entry->action, manner_, Done, {}, {}};
}

} // namespace

bool AsksForJson(std::span<const std::string> arguments)
{
    return HasOption(arguments, "--json");
}

std::string ErrorText(const std::string& error, const std::string& code, bool isJson)
{
    return isJson ? JsonLine(ErrorJson(error, code)) : error + '\n';
}

Invocation ReadCommandLine(const std::vector<std::string>& arguments, const Program& program, int width)
{
    // 'tavlo help COMMAND' is another way to write 'tavlo COMMAND --help'.
    std::vector<std::string> same = arguments;
    const auto isWord = [](const std::string& text) { return !text.starts_with('-'); };
    for (auto word = std::ranges::find_if(same, isWord); word != same.end() && *word == "help";
         word = std::ranges::find_if(same, isWord)) {
        same.erase(word);
        same.insert(std::ranges::find(same, "--"), "--help");
    }
    return Parser(program).Read(same, width);
}

} // namespace Mardu::Sentel::Tavlo::Client
