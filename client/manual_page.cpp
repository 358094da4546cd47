#include "client/manual_page.h"

#include "client/fields.h"
#include "client/wrap.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <string_view>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

constexpr int indent = 4;

/// What the option is called on the command line: "-q, --quiet", "--rect L,T,R,B", "NAME".
std::string Heading(const CLI::Option& option)
{
    if (option.get_positional())
        return option.get_name(true);
    std::string heading;
    for (const std::string& name : option.get_snames())
        heading += "-" + name + ", ";
    for (const std::string& name : option.get_lnames())
        heading += "--" + name + ", ";
    heading.erase(heading.size() - 2);
    const bool isFlag = option.get_expected_min() == 0;
    return isFlag ? heading : heading + " " + option.get_type_name();
}

class Page
{
public:
    explicit Page(int width) : width_(width) {}

    void Section(std::string_view title)
    {
        text_.append(text_.empty() ? "" : "\n").append(title).append("\n");
    }
    void Paragraphs(std::string_view text, int depth = 1) { text_ += Wrapped(text, depth * indent, width_); }
    /// A name, and beside it from a column on what it is.
    void Entry(std::string_view name, std::string_view text, std::size_t column)
    {
        std::string lines = Wrapped(text, 2 * indent + static_cast<int>(column), width_);
        text_ += lines.replace(2 * indent, name.size(), name);
    }
    /// As it is, for users to copy.
    void Line(std::string_view line, int depth = 1)
    {
        text_.append(static_cast<std::size_t>(depth * indent), ' ').append(line).append("\n");
    }

    void Synopsis(std::string_view synopsis)
    {
        Section("SYNOPSIS");
        for (const std::string_view line : Fields(synopsis, '\n'))
            Line("tavlo " + std::string(line));
    }
    void Options(const CLI::App& parser)
    {
        std::vector<const CLI::Option*> options = parser.get_options();
        std::ranges::stable_partition(options, &CLI::Option::get_positional);
        bool isFirst = true;
        for (const CLI::Option* option : options) {
            if (std::exchange(isFirst, false))
                Section(option->get_positional() ? "ARGUMENTS AND OPTIONS" : "OPTIONS");
            Line(Heading(*option));
            Paragraphs(option->get_description(), 2);
        }
    }
    void Rest(const Manual& manual)
    {
        if (!manual.examples.empty())
            Section("EXAMPLES");
        for (const Example& example : manual.examples) {
            if (&example != &manual.examples.front())
                text_ += '\n';
            Paragraphs(std::string(example.purpose) + ":");
            Line(example.line, 2);
        }
        Section("EXIT CODES");
        Line("0  done");
        Line("1  failed; standard error tells why");
        Line("2  wrong usage; standard error tells what was wrong");
        Section("SEE ALSO");
        Paragraphs(manual.seeAlso);
    }

    std::string Text() && { return std::move(text_); }

private:
    int width_;
    std::string text_;
};

} // namespace

std::string ManualPage(const Command& command, const CLI::App& parser, int width)
{
    Page page(width);
    page.Section("NAME");
    page.Paragraphs("tavlo " + std::string(command.name) + " - " + command.summary);
    page.Synopsis(command.manual->synopsis);
    page.Section("DESCRIPTION");
    page.Paragraphs(command.manual->description);
    page.Options(parser);
    page.Rest(*command.manual);
    return std::move(page).Text();
}

std::string Overview(std::span<const Command> commands, const Manual& manual, const CLI::App& parser,
                     int width)
{
    Page page(width);
    page.Section("NAME");
    page.Paragraphs("tavlo - " + parser.get_description());
    page.Synopsis(manual.synopsis);
    page.Section("DESCRIPTION");
    page.Paragraphs(manual.description);
    page.Section("COMMANDS");
    std::size_t longest = 0;
    for (const Command& command : commands)
        longest = std::max(longest, std::string_view(command.name).size());
    std::string_view group;
    for (const Command& command : commands) {
        if (command.group != group)
            page.Line(group = command.group);
        page.Entry(command.name, command.summary, longest + 2);
    }
    page.Options(parser);
    page.Rest(manual);
    return std::move(page).Text();
}

} // namespace Mardu::Sentel::Tavlo::Client
