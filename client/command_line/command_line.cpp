#include "client/command_line/command_line.h"

#include "client/command_line/json.h"
#include "client/command_line/manual_page.h"
#include "client/command_line/near_name.h"
#include "client/command_line/option_parser.h"

#include <algorithm>
#include <deque>
#include <iterator>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

constexpr const char* programName = "tavlo";

void AddCommonOptions(Options& options, OutputMode& mode)
{
    options.AddFlag("--json", mode.isJson, "Print results and errors as JSON, an object a line");
    options.AddFlag("-q,--quiet", mode.isQuiet, "Print no notes and show no progress");
    options.Add({.name = std::string(helpFlag), .form = {}, .help = "Print this help and exit"});
}

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

/// The program's commands with their options, and what was read for them.
class Reader
{
public:
    explicit Reader(const Program& program) : program_(program)
    {
        AddCommonOptions(options_, mode_);
        options_.Add({.name = std::string(versionFlag), .form = {}, .help = "Print the version and exit"});
        parser_.emplace(options_);
        for (const Command& command : program.commands)
            Add(command);
    }

    Invocation Read(const std::vector<std::string>& arguments, int width);

private:
    struct Entry
    {
        const Command* command;
        Options options;
        Action action;
    };

    void Add(const Command& command)
    {
        Entry& entry = entries_.emplace_back(Entry{&command, {}, {}});
        entry.action = command.setUp(entry.options);
        AddCommonOptions(entry.options, mode_);
        parser_->AddCommand(command.name, entry.options);
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
        return entry != nullptr ? ManualPage(*entry->command, entry->options, width)
                                : Overview(program_.commands, program_.manual, options_, width);
    }

    std::string Version(bool isJson) const
    {
        const std::string version(program_.version);
        if (isJson)
            return JsonLine({{"program", programName}, {"version", version}});
        return std::string(programName) + ' ' + version + '\n';
    }

    Invocation NoCommand(const std::string& name, bool isJson) const;

    const Program& program_;
    OutputMode mode_;
    Options options_;
    std::deque<Entry> entries_;
    std::optional<OptionParser> parser_;
};

Invocation Reader::NoCommand(const std::string& name, bool isJson) const
{
    std::vector<std::string_view> names = {"help"};
    std::ranges::transform(program_.commands, std::back_inserter(names), &Command::name);
    std::string error = "tavlo: there is no command '" + name + "'";
    if (const std::string_view near = NearName(name, names); !near.empty())
        error += ". Did you mean '" + std::string(near) + "'?";
    return Refusal(error, "tavlo help", isJson);
}

Invocation Reader::Read(const std::vector<std::string>& arguments, int width)
{
    const bool isJson = AsksForJson(arguments);
    const auto word =
        std::ranges::find_if(arguments, [](const std::string& text) { return !text.starts_with('-'); });
    const Entry* entry = word == arguments.end() ? nullptr : Find(*word);
    if (word != arguments.end() && entry == nullptr)
        return NoCommand(*word, isJson);

    const std::string self = programName + (entry == nullptr ? "" : " " + std::string(entry->command->name));
    const auto refuse = [&](const std::string& error) {
        return Refusal(self + ": " + error, self + " --help", isJson);
    };
    try {
        switch (parser_->Parse(arguments)) {
        case OptionParser::Outcome::HelpAskedFor:
            return Answer(Help(entry, width));
        case OptionParser::Outcome::VersionAskedFor:
            return Answer(Version(isJson));
        case OptionParser::Outcome::Read:
            break;
        }
    } catch (const MissingError& error) {
        return refuse(entry == nullptr ? "a command is needed" : error.what());
    } catch (const UsageError& error) {
        return refuse(error.what());
    }
    return {entry->action, mode_, Done, {}, {}};
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
    return Reader(program).Read(same, width);
}

} // namespace Mardu::Sentel::Tavlo::Client
