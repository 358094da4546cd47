#include "client/command_line/option_parser.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <map>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

/// By its name, or by its letter alone or among others.
bool AsksForHelp(std::span<const std::string> arguments)
{
    const auto end = std::ranges::find(arguments, "--");
    return std::any_of(arguments.begin(), end, [](const std::string& text) {
        return text == "--help" ||
               (text.starts_with('-') && !text.starts_with("--") && text.find('h') != std::string::npos);
    });
}

/// A refusal begins with the option's name.
void Read(const Option& option, const std::string& text)
{
    try {
        option.read(text);
    } catch (const std::invalid_argument& error) {
        throw CLI::ValidationError(option.name, error.what());
    }
}

CLI::Option* AddText(CLI::App& parser, const Option& option)
{
    const auto* const declared = &option;
    if (!option.isRepeatable) {
        const auto read = [declared](const std::string& text) { Read(*declared, text); };
        return parser.add_option_function<std::string>(option.name, read);
    }
    const auto readAll = [declared](const std::vector<std::string>& texts) {
        for (const std::string& text : texts)
            Read(*declared, text);
    };
    return parser.add_option_function<std::vector<std::string>>(option.name, readAll)
        ->expected(1, CLI::detail::expected_max_vector_size)
        ->allow_extra_args(false); // what follows the text is no other text
}

CLI::Option* AddTo(CLI::App& parser, const Option& option)
{
    if (option.name == helpFlag)
        return parser.set_help_flag(option.name);
    if (option.flag != nullptr)
        return parser.add_flag(option.name, *option.flag);
    CLI::Option* const added = AddText(parser, option)->required(option.isRequired);
    if (!option.form.empty())
        added->type_name(option.form);
    if (option.whyNot)
        added->check(CLI::Validator(option.whyNot, ""));
    if (option.isCaseIgnored)
        added->check(CLI::IsMember(option.words, CLI::ignore_case).description(""));
    else if (!option.words.empty())
        added->check(CLI::IsMember(option.words).description(""));
    return added;
}

/// The long one of an option's names.
std::string_view LongName(std::string_view names)
{
    return names.substr(names.rfind(',') + 1);
}

bool HasAnyName(std::span<const std::string> arguments, std::string_view names)
{
    for (; !names.empty(); names.remove_prefix(std::min(names.find(','), names.size() - 1) + 1)) {
        if (HasOption(arguments, names.substr(0, names.find(','))))
            return true;
    }
    return false;
}

} // namespace

/// What the library knows of the options.
struct OptionParser::Library
{
    explicit Library(Options& own) : ofProgram(own) {}

    void Declare(CLI::App& parser, Options& options)
    {
        // A leading '/' begins a path, not an option.
        parser.allow_windows_style_options(false);
        std::map<const Option*, CLI::Option*> added;
        for (const Option& option : options.All()) {
            if (option.name == versionFlag)
                continue;
            CLI::Option* const one = added[&option] = AddTo(parser, option);
            for (const Option* other : option.excluded)
                one->excludes(added.at(other));
        }
        parser.callback([&options, added] {
            for (Option& option : options.All()) {
                const auto found = added.find(&option);
                option.isGiven = found != added.end() && !found->second->empty();
            }
            if (options.Check())
                options.Check()();
        });
    }

    /// A command's parser hands what it has no place for to the program's, which does not know that two
    /// dashes have ended the options.
    void RefuseWhatFollowsDashes(std::span<const std::string> arguments) const
    {
        for (const Option& option : ofProgram.All()) {
            if (option.flag != nullptr && *option.flag && !HasAnyName(arguments, option.name))
                throw CLI::ExtrasError({std::string(LongName(option.name))});
        }
    }

    Options& ofProgram;
    CLI::App app;
};

OptionParser::OptionParser(Options& ofProgram) : library_(std::make_unique<Library>(ofProgram))
{
    library_->Declare(library_->app, ofProgram);
    library_->app.set_version_flag(std::string(versionFlag), "");
    library_->app.require_subcommand(1);
}

OptionParser::~OptionParser() = default;

void OptionParser::AddCommand(const std::string& name, Options& options)
{
    library_->Declare(*library_->app.add_subcommand(name), options);
}

OptionParser::Outcome OptionParser::Parse(const std::vector<std::string>& arguments)
{
    try {
        try {
            // The library takes its arguments from the back.
            library_->app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
        } catch (const CLI::CallForHelp&) {
            if (AsksForHelp(arguments))
                return Outcome::HelpAskedFor;
            throw CLI::ExtrasError({"--help"});
        } catch (const CLI::CallForVersion&) {
            if (HasOption(arguments, versionFlag))
                return Outcome::VersionAskedFor;
            throw CLI::ExtrasError({std::string(versionFlag)});
        }
        library_->RefuseWhatFollowsDashes(arguments);
        return Outcome::Read;
    } catch (const CLI::RequiredError& error) {
        throw MissingError(error.what());
    } catch (const CLI::ParseError& error) {
        throw UsageError(error.what());
    }
}

bool HasOption(std::span<const std::string> arguments, std::string_view name)
{
    const auto end = std::ranges::find(arguments, "--");
    return std::find(arguments.begin(), end, name) != end;
}

std::optional<double> ReadNumber(const std::string& text)
{
    double number = 0;
    return CLI::detail::lexical_cast(text, number) ? std::optional(number) : std::nullopt;
}

} // namespace Mardu::Sentel::Tavlo::Client
