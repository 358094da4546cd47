#include "client/command_line/option_parser.h"

#include <gtest/gtest.h>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

using Words = std::vector<std::string>;

int ParseDigit(const std::string& text)
{
    if (text.size() != 1 || text[0] < '0' || text[0] > '9')
        throw std::invalid_argument("must be a digit, not '" + text + "'");
    return text[0] - '0';
}

/// A program with one command, which has an option of every kind.
class OptionParserTest : public testing::Test
{
protected:
    OptionParserTest()
    {
        program_.AddFlag("-q,--quiet", isQuiet, "");
        program_.Add({.name = std::string(helpFlag), .form = {}, .help = ""});
        program_.Add({.name = std::string(versionFlag), .form = {}, .help = ""});
        command_.Add({.name = "FILE", .form = {}, .help = "", .read = StoreIn(file), .isRequired = true});
        command_.Add({.name = "OUT", .form = {}, .help = "", .read = StoreIn(out)});
        command_.AddFlag("-q,--quiet", isQuiet, "");
        const Option& plain = command_.AddFlag("--plain", isPlain, "");
        digit = &command_.Add({.name = "--digit",
                               .form = "D",
                               .help = "",
                               .read = Parsed(ParseDigit, [this](int read) { digits.push_back(read); }),
                               .excluded = {&plain}});
        command_.Add({.name = "--digits",
                      .form = "D",
                      .help = "",
                      .read = Parsed(ParseDigit, [this](int read) { digits.push_back(read); }),
                      .isRepeatable = true});
        command_.Add({.name = "--name",
                      .form = "NAME",
                      .help = "",
                      .read = StoreIn(name),
                      .whyNot = [](const std::string& text) { return text.empty() ? "is empty" : ""; }});
        command_.Add({.name = "--colour",
                      .form = "COLOUR",
                      .help = "",
                      .read = StoreIn(colour),
                      .words = {"red", "blue"}});
        command_.Add({.name = "--language",
                      .form = "LANGUAGE",
                      .help = "",
                      .read = StoreIn(language),
                      .words = {"jscript"},
                      .isCaseIgnored = true});
        command_.AfterReading([this] {
            wasDigitGiven = digit->isGiven;
            if (file == out)
                throw WrongValue("OUT", "is FILE");
        });
    }

    OptionParser::Outcome Parse(Words arguments)
    {
        OptionParser parser(program_);
        parser.AddCommand("copy", command_);
        arguments.insert(arguments.begin(), "copy");
        return parser.Parse(arguments);
    }

    std::string Complaint(const Words& arguments)
    {
        try {
            Parse(arguments);
            return {};
        } catch (const UsageError& error) {
            return error.what();
        }
    }

    bool isQuiet = false;
    bool isPlain = false;
    bool wasDigitGiven = false;
    std::string file, out, name, colour, language;
    std::vector<int> digits;
    const Option* digit = nullptr;

private:
    Options program_;
    Options command_;
};

TEST_F(OptionParserTest, FillsWhatWasGiven)
{
    EXPECT_EQ(Parse({"a", "b", "-q", "--digit", "3", "--name", "n", "--colour", "blue", "--digits", "1",
                     "--digits=2"}),
              OptionParser::Outcome::Read);
    EXPECT_EQ(file, "a");
    EXPECT_EQ(out, "b");
    EXPECT_EQ(name, "n");
    EXPECT_EQ(colour, "blue");
    EXPECT_EQ(digits, (std::vector{3, 1, 2}));
    EXPECT_TRUE(isQuiet);
    EXPECT_TRUE(wasDigitGiven);
    EXPECT_FALSE(isPlain);
}

TEST_F(OptionParserTest, KnowsWhatWasNotGiven)
{
    Parse({"a", "--plain"});
    EXPECT_TRUE(isPlain);
    EXPECT_FALSE(wasDigitGiven);
}

TEST_F(OptionParserTest, WordsAreTakenAsTheyAreTypedWhereCaseIsIgnored)
{
    Parse({"a", "--language", "JScript"});
    EXPECT_EQ(language, "JScript");
}

TEST_F(OptionParserTest, WhatIsAskedInsteadIsTold)
{
    EXPECT_EQ(Parse({"--help"}), OptionParser::Outcome::HelpAskedFor);
}

TEST_F(OptionParserTest, RefusesWithTheReason)
{
    EXPECT_EQ(Complaint({}), "FILE is required");
    EXPECT_EQ(Complaint({"a", "b", "c"}), "The following argument was not expected: c");
    EXPECT_EQ(Complaint({"a", "--digit", "x"}), "--digit: must be a digit, not 'x'");
    EXPECT_EQ(Complaint({"a", "--digits", "1", "--digits", "xy"}), "--digits: must be a digit, not 'xy'");
    EXPECT_EQ(Complaint({"a", "--digit"}), "--digit: 1 required D missing");
    EXPECT_EQ(Complaint({"a", "--digit", "1", "--plain"}), "--plain excludes --digit");
    EXPECT_EQ(Complaint({"a", "--name", ""}), "--name: is empty");
    EXPECT_EQ(Complaint({"a", "--colour", "green"}), "--colour: green not in {red,blue}");
    EXPECT_EQ(Complaint({"a", "a"}), "OUT: is FILE");
    EXPECT_EQ(Complaint({"a", "--", "--quiet"}), "");
    EXPECT_EQ(Complaint({"a", "b", "--", "--quiet"}), "The following argument was not expected: --quiet");
}

TEST_F(OptionParserTest, WhatIsLeftOutIsAnErrorOfItsOwn)
{
    EXPECT_THROW(Parse({}), MissingError);
}

TEST(ReadNumberTest, TakesOnlyNumbers)
{
    EXPECT_EQ(ReadNumber("-1.5e3"), -1500);
    EXPECT_EQ(ReadNumber("1x"), std::nullopt);
    EXPECT_EQ(ReadNumber(""), std::nullopt);
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
