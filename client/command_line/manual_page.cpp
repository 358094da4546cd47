#include "client/command_line/manual_page.h"

#include "client/command_line/wrap.h"
#include "client/foundation/text_parsing.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

constexpr int indent = 4;

/// What the option is called on the command line: "-q, --quiet", "--rect L,T,R,B", "NAME".
std::string Heading(const Option& option)
{
    std::string heading;
    for (const std::string_view name : Split(option.name))
        heading.append(heading.empty() ? "" : ", ").append(name);
    return option.form.empty() ? heading : heading + " " + option.form;
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
        for (const std::string_view line : Split(synopsis, '\n'))
            Line("tavlo " + std::string(line));
    }
    void Declared(const Options& options)
    {
        std::vector<const Option*> arguments;
        for (const Option& option : options.All())
            arguments.push_back(&option);
        std::ranges::stable_partition(arguments, &Option::IsArgument);
        bool isFirst = true;
        for (const Option* option : arguments) {
            if (std::exchange(isFirst, false))
                Section(option->IsArgument() ? "ARGUMENTS AND OPTIONS" : "OPTIONS");
            Line(Heading(*option));
            Paragraphs(option->help, 2);
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

std::string ManualPage(const Command& command, const Options& options, int width)
{
    Page page(width);
    page.Section("NAME");
    page.Paragraphs("tavlo " + std::string(command.name) + " - " + command.summary);
    page.Synopsis(command.manual->synopsis);
    page.Section("DESCRIPTION");
    page.Paragraphs(command.manual->description);
    page.Declared(options);
    page.Rest(*command.manual);
    return std::move(page).Text();
}

std::string Overview(std::span<const Command> commands, const Manual& manual, const Options& options,
                     int width)
{
    Page page(width);
    page.Section("NAME");
    page.Paragraphs("tavlo - share raw images between processes");
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
    page.Declared(options);
    page.Rest(manual);
    return std::move(page).Text();
}

} // namespace Mardu::Sentel::Tavlo::Client
