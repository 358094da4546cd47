#include "client/command_line/console.h"

#include <gtest/gtest.h>

#include <string>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

using namespace std::chrono_literals;

class ConsoleTest : public testing::Test
{
protected:
    Console In(OutputMode mode)
    {
        return Console(
            mode, [this](std::string_view text) { output += text; },
            [this](std::string_view text) { terminal += text; }, [this] { return now += 1s; });
    }

    std::string output;
    std::string terminal;
    std::chrono::steady_clock::time_point now{};
};

const Json someResult = {{"a", 1}};

TEST_F(ConsoleTest, ResultsAreTextOrJson)
{
    In({}).Result("text\n", someResult);
    EXPECT_EQ(output, "text\n");
    In({.isJson = true}).Result("text\n", someResult);
    EXPECT_EQ(output, "text\n{\"a\":1}\n");
}

TEST_F(ConsoleTest, QuietKeepsResultsAndDropsNotes)
{
    In({.isQuiet = true}).Note("note\n", someResult);
    EXPECT_EQ(output, "");
    In({.isQuiet = true}).Result("result\n", someResult);
    EXPECT_EQ(output, "result\n");
    In({}).Note("note\n", someResult);
    EXPECT_EQ(output, "result\nnote\n");
}

TEST_F(ConsoleTest, WhoAsksForJsonGetsItQuietOrNot)
{
    In({.isJson = true, .isQuiet = true}).Note("note\n", someResult);
    EXPECT_EQ(output, "{\"a\":1}\n");
}

TEST_F(ConsoleTest, NoTextIsNothingWritten)
{
    bool wasWritten = false;
    const Console console({}, [&](std::string_view) { wasWritten = true; }, {});
    console.Result({}, someResult);
    EXPECT_FALSE(wasWritten);
}

TEST_F(ConsoleTest, ProgressIsForUsersWhoReadAlong)
{
    for (const OutputMode mode : {OutputMode{.isJson = true}, OutputMode{.isQuiet = true}}) {
        In(mode).ShowProgress().Report("working", 1, 2);
        EXPECT_EQ(terminal, "");
    }
    In({}).ShowProgress().Report("working", 1, 2);
    EXPECT_TRUE(terminal.starts_with("\rworking 50 %")) << terminal;
    EXPECT_EQ(output, "");
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
