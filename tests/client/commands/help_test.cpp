#include "client/commands/commands.h"
#include "client/foundation/text_parsing.h"

#include <gtest/gtest.h>

#include <sstream>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

Invocation Read(const std::vector<std::string>& arguments)
{
    return ReadCommandLine(arguments, {commands, programManual, "1.2.3"}, 80);
}

/// The help pages of the program and of all its commands.
std::vector<std::string> Pages()
{
    std::vector<std::string> pages = {Read({"--help"}).output};
    for (const Command& command : commands)
        pages.push_back(Read({"help", command.name}).output);
    return pages;
}

std::vector<Example> Examples()
{
    std::vector<Example> examples = programManual.examples;
    for (const Command& command : commands)
        examples.insert(examples.end(), command.manual->examples.begin(), command.manual->examples.end());
    return examples;
}

TEST(HelpTest, NoLineIsLongerThan80Columns)
{
    for (const std::string& page : Pages()) {
        for (const std::string_view line : Split(page, '\n'))
            EXPECT_LE(line.size(), 80u) << line;
    }
}

TEST(HelpTest, EveryPageHasEverySection)
{
    for (const std::string& page : Pages()) {
        for (const char* title :
             {"NAME", "SYNOPSIS", "DESCRIPTION", "OPTIONS", "EXAMPLES", "EXIT CODES", "SEE ALSO"})
            EXPECT_NE(page.find(std::string(title) + "\n    "), std::string::npos) << title << " in\n"
                                                                                   << page;
    }
}

TEST(HelpTest, TheCommandTakesEveryExample)
{
    for (const Example& example : Examples()) {
        std::istringstream line(example.line);
        const std::vector<std::string> words{std::istream_iterator<std::string>(line), {}};
        ASSERT_EQ(words.at(0), "tavlo");
        const Invocation invocation = Read({words.begin() + 1, words.end()});
        EXPECT_EQ(invocation.exitCode, Done) << example.line << ": " << invocation.errors;
        EXPECT_TRUE(invocation.action || words.at(1) == "help") << example.line;
    }
}

TEST(HelpTest, AnExampleOfACommandIsOfThatCommand)
{
    for (const Command& command : commands) {
        EXPECT_FALSE(command.manual->examples.empty()) << command.name;
        for (const Example& example : command.manual->examples)
            EXPECT_TRUE(
                (std::string(example.line) + " ").starts_with("tavlo " + std::string(command.name) + " "))
                << example.line;
    }
}

TEST(HelpTest, TheSynopsisIsOfTheCommand)
{
    for (const Command& command : commands) {
        for (const std::string_view line : Split(command.manual->synopsis, '\n'))
            EXPECT_TRUE(line.starts_with(std::string(command.name) + " ")) << line;
    }
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
