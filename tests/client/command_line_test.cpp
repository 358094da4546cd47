#include "client/command_line.h"

#include <CLI/CLI.hpp>
#include <gtest/gtest.h>

#include <stdexcept>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

std::string lastGreeted;

Action SetUpGreet(CLI::App& options)
{
    const auto name = std::make_shared<std::string>();
    options.add_option("NAME", *name, "Whom to greet")->required();
    return [name] { lastGreeted = *name; };
}

Action SetUpFail(CLI::App&)
{
    return [] { throw std::runtime_error("failed"); };
}

constexpr Command commands[] = {
    {"greet", "Greet somebody", SetUpGreet},
    {"fail", "Fail", SetUpFail},
};

Invocation Read(const std::vector<std::string>& arguments)
{
    return ReadCommandLine(arguments, commands, "1.2.3");
}

bool Contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

TEST(CommandLineTest, GivesTheChosenCommandsActionWithItsOptions)
{
    const Invocation invocation = Read({"greet", "Ada"});
    ASSERT_TRUE(invocation.action);
    lastGreeted.clear();
    invocation.action();
    EXPECT_EQ(lastGreeted, "Ada");
}

TEST(CommandLineTest, TakesALeadingSlashForAPath)
{
    const Invocation invocation = Read({"greet", "/Ada"});
    ASSERT_TRUE(invocation.action) << invocation.errors;
    invocation.action();
    EXPECT_EQ(lastGreeted, "/Ada");
}

TEST(CommandLineTest, PrintsTheVersion)
{
    const Invocation invocation = Read({"--version"});
    EXPECT_FALSE(invocation.action);
    EXPECT_EQ(invocation.exitCode, Done);
    EXPECT_EQ(invocation.output, "tavlo 1.2.3\n");
}

TEST(CommandLineTest, HelpNamesEveryCommand)
{
    const Invocation invocation = Read({"--help"});
    EXPECT_EQ(invocation.exitCode, Done);
    EXPECT_TRUE(Contains(invocation.output, "greet"));
    EXPECT_TRUE(Contains(invocation.output, "fail"));
}

TEST(CommandLineTest, HelpOfACommandNamesItsOptions)
{
    const Invocation invocation = Read({"greet", "--help"});
    EXPECT_FALSE(invocation.action);
    EXPECT_EQ(invocation.exitCode, Done);
    EXPECT_TRUE(Contains(invocation.output, "Whom to greet"));
}

struct WrongLine
{
    std::vector<std::string> arguments;
    const char* complaint;
};

void PrintTo(const WrongLine& wrong, std::ostream* stream)
{
    *stream << wrong.complaint;
}

class WrongUsageTest : public testing::TestWithParam<WrongLine>
{
};

TEST_P(WrongUsageTest, IsRefusedWithTheReason)
{
    const Invocation invocation = Read(GetParam().arguments);
    EXPECT_FALSE(invocation.action);
    EXPECT_EQ(invocation.exitCode, WrongUsage);
    EXPECT_EQ(invocation.output, "");
    EXPECT_TRUE(Contains(invocation.errors, GetParam().complaint)) << invocation.errors;
    EXPECT_TRUE(Contains(invocation.errors, "--help")) << invocation.errors;
}

INSTANTIATE_TEST_SUITE_P(All, WrongUsageTest,
                         testing::Values(WrongLine{{}, "a command is needed"},
                                         WrongLine{{"dance"}, "there is no command 'dance'"},
                                         WrongLine{{"--loud"}, "tavlo: "},
                                         WrongLine{{"greet"}, "tavlo greet: NAME is required"},
                                         WrongLine{{"greet", "Ada", "Bob"}, "not expected: Bob"},
                                         WrongLine{{"fail", "--loud"}, "not expected: --loud"}));

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
