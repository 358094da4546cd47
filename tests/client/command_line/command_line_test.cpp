#include "client/command_line/command_line.h"

#include "client/command_line/options.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

std::string lastGreeted;

Action SetUpGreet(Options& options)
{
    const auto name = std::make_shared<std::string>();
    options.Add({.name = "NAME",
                 .form = {},
                 .help = "Whom to greet",
                 .read = [name](const std::string& text) { *name = text; },
                 .isRequired = true});
    return [name](const Console&) { lastGreeted = *name; };
}

Action SetUpFail(Options&)
{
    return [](const Console&) { throw std::runtime_error("failed"); };
}

const Manual manual = {"NAME [OPTION...]", "First.\n\nSecond.", {{"Somebody", "tavlo greet Ada"}}, "others"};

constexpr Command commands[] = {
    {"greet", "greet somebody", SetUpGreet, "Kindness", &manual},
    {"fail", "fail", SetUpFail, "Trouble", &manual},
};

Invocation Read(const std::vector<std::string>& arguments, int width = 80)
{
    return ReadCommandLine(arguments, {commands, manual, "1.2.3"}, width);
}

void RunAction(const Invocation& invocation)
{
    invocation.action(Console(invocation.mode, {}, {}));
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
    RunAction(invocation);
    EXPECT_EQ(lastGreeted, "Ada");
}

TEST(CommandLineTest, TakesALeadingSlashForAPath)
{
    const Invocation invocation = Read({"greet", "/Ada"});
    ASSERT_TRUE(invocation.action) << invocation.errors;
    RunAction(invocation);
    EXPECT_EQ(lastGreeted, "/Ada");
}

TEST(CommandLineTest, PrintsTheVersion)
{
    const Invocation invocation = Read({"--version"});
    EXPECT_FALSE(invocation.action);
    EXPECT_EQ(invocation.exitCode, Done);
    EXPECT_EQ(invocation.output, "tavlo 1.2.3\n");
}

TEST(CommandLineTest, TheVersionIsToBeHadAsJsonToo)
{
    const std::string expected = "{\"program\":\"tavlo\",\"version\":\"1.2.3\"}\n";
    EXPECT_EQ(Read({"--version", "--json"}).output, expected);
    EXPECT_EQ(Read({"--json", "--version"}).output, expected);
}

TEST(CommandLineTest, HelpNamesEveryCommandInItsGroup)
{
    const Invocation invocation = Read({"--help"});
    EXPECT_EQ(invocation.exitCode, Done);
    EXPECT_TRUE(Contains(invocation.output, "COMMANDS\n"
                                            "    Kindness\n"
                                            "        greet  greet somebody\n"
                                            "    Trouble\n"
                                            "        fail   fail\n"))
        << invocation.output;
}

TEST(CommandLineTest, HelpOfACommandHasEverySection)
{
    const Invocation invocation = Read({"greet", "--help"});
    EXPECT_FALSE(invocation.action);
    EXPECT_EQ(invocation.exitCode, Done);
    EXPECT_EQ(invocation.output, "NAME\n"
                                 "    tavlo greet - greet somebody\n"
                                 "\n"
                                 "SYNOPSIS\n"
                                 "    tavlo NAME [OPTION...]\n"
                                 "\n"
                                 "DESCRIPTION\n"
                                 "    First.\n"
                                 "\n"
                                 "    Second.\n"
                                 "\n"
                                 "ARGUMENTS AND OPTIONS\n"
                                 "    NAME\n"
                                 "        Whom to greet\n"
                                 "    --json\n"
                                 "        Print results and errors as JSON, an object a line\n"
                                 "    -q, --quiet\n"
                                 "        Print no notes and show no progress\n"
                                 "    -h, --help\n"
                                 "        Print this help and exit\n"
                                 "\n"
                                 "EXAMPLES\n"
                                 "    Somebody:\n"
                                 "        tavlo greet Ada\n"
                                 "\n"
                                 "EXIT CODES\n"
                                 "    0  done\n"
                                 "    1  failed; standard error tells why\n"
                                 "    2  wrong usage; standard error tells what was wrong\n"
                                 "\n"
                                 "SEE ALSO\n"
                                 "    others\n");
}

TEST(CommandLineTest, HelpIsToBeHadInSeveralWays)
{
    const std::string page = Read({"greet", "--help"}).output;
    const std::string overview = Read({"--help"}).output;
    EXPECT_EQ(Read({"help", "greet"}).output, page);
    EXPECT_EQ(Read({"help", "--", "greet"}).output, page);
    EXPECT_EQ(Read({"greet", "-qh"}).output, page);
    EXPECT_EQ(Read({"greet", "Ada", "-h"}).output, page);
    EXPECT_EQ(Read({"help"}).output, overview);
    EXPECT_EQ(Read({"help", "help"}).output, overview);
    EXPECT_EQ(Read({"--quiet", "help"}).output, overview);
    EXPECT_EQ(Read({"-h"}).output, overview);
}

TEST(CommandLineTest, HelpIsWrappedAtTheWidth)
{
    const std::string page = Read({"greet", "--help"}, 40).output;
    EXPECT_TRUE(Contains(page, "        Print results and errors as\n        JSON, an object a line\n"))
        << page;
    const std::string overview = Read({"--help"}, 22).output;
    EXPECT_TRUE(Contains(overview, "        greet  greet\n               somebody\n")) << overview;
}

TEST(CommandLineTest, MannersStandBeforeOrBehindTheCommand)
{
    for (const auto& arguments : std::vector<std::vector<std::string>>{{"--json", "-q", "greet", "Ada"},
                                                                       {"greet", "--json", "--quiet", "Ada"},
                                                                       {"--json", "greet", "Ada", "-q"}}) {
        const Invocation invocation = Read(arguments);
        ASSERT_TRUE(invocation.action) << invocation.errors;
        EXPECT_TRUE(invocation.mode.isJson);
        EXPECT_TRUE(invocation.mode.isQuiet);
    }
    const Invocation plain = Read({"greet", "Ada"});
    EXPECT_FALSE(plain.mode.isJson);
    EXPECT_FALSE(plain.mode.isQuiet);
}

TEST(CommandLineTest, TwoDashesEndTheOptions)
{
    for (const char* name : {"--json", "-q", "--help", "--version", "fail", "help"}) {
        const Invocation invocation = Read({"greet", "--", name});
        ASSERT_TRUE(invocation.action) << invocation.errors;
        EXPECT_FALSE(invocation.mode.isJson);
        RunAction(invocation);
        EXPECT_EQ(lastGreeted, name);
    }
}

TEST(CommandLineTest, AnArgumentMayBeCalledLikeACommand)
{
    for (const char* name : {"fail", "greet", "help"}) {
        const Invocation invocation = Read({"greet", name});
        ASSERT_TRUE(invocation.action) << invocation.errors;
        RunAction(invocation);
        EXPECT_EQ(lastGreeted, name);
    }
}

TEST(CommandLineTest, WrongUsageIsJsonForThoseWhoAskForIt)
{
    const Invocation invocation = Read({"greet", "--json"});
    EXPECT_EQ(invocation.exitCode, WrongUsage);
    EXPECT_EQ(invocation.output, "");
    EXPECT_EQ(invocation.errors, "{\"error\":\"tavlo greet: NAME is required\",\"code\":null}\n");
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
    EXPECT_TRUE(Contains(invocation.errors, "\nTry 'tavlo ") || invocation.errors.front() == '{')
        << invocation.errors;
}

INSTANTIATE_TEST_SUITE_P(
    All, WrongUsageTest,
    testing::Values(WrongLine{{}, "a command is needed"},
                    WrongLine{{"dance"}, "tavlo: there is no command 'dance'\n"},
                    WrongLine{{"help", "dance"}, "there is no command 'dance'\n"},
                    WrongLine{{"grete"}, "no command 'grete'. Did you mean 'greet'?\n"},
                    WrongLine{{"hlep"}, "Did you mean 'help'?"},
                    WrongLine{{"--json", "--", "-x"}, "{\"error\":\"tavlo: "},
                    WrongLine{{"--quiet"}, "a command is needed"}, WrongLine{{"--loud"}, "tavlo: "},
                    WrongLine{{"greet"}, "tavlo greet: NAME is required"},
                    WrongLine{{"greet", "Ada", "Bob"}, "not expected: Bob"},
                    WrongLine{{"greet", "Ada", "--", "--json"}, "not expected: --json"},
                    WrongLine{{"greet", "Ada", "--", "-q"}, "not expected: --quiet"},
                    WrongLine{{"greet", "Ada", "--", "--help"}, "not expected: --help"},
                    WrongLine{{"greet", "Ada", "--", "-h"}, "not expected: --help"},
                    WrongLine{{"greet", "Ada", "--", "--version"}, "not expected: --version"},
                    WrongLine{{"greet", "Ada", "--", "greet"}, "not expected: greet"},
                    WrongLine{{"fail", "--loud"}, "not expected: --loud"}));

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
