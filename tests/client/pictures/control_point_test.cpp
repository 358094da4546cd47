#include "client/pictures/control_point.h"

#include "client/pictures/rectangle.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

TEST(ParseControlPointTest, PutsRedIntoTheLowestByteAndMakesTheColourOpaque)
{
    EXPECT_EQ(ParseControlPoint("0.25=123456"), (ControlPoint{0.25, 0xFF563412}));
    EXPECT_EQ(ParseControlPoint("1=ff0000"), (ControlPoint{1.0, 0xFF0000FF}));
}

TEST(ParseControlPointTest, TakesAColourWithOrWithoutItsMarkInAnyCase)
{
    EXPECT_EQ(ParseControlPoint("0=#aBcDeF"), ParseControlPoint("0=AbCdEf"));
}

TEST(ParseControlPointTest, TakesPositionsAsNumbersAreWritten)
{
    EXPECT_EQ(ParseControlPoint("0=000000").position, 0.0);
    EXPECT_EQ(ParseControlPoint("1.0=000000").position, 1.0);
    EXPECT_EQ(ParseControlPoint(".5=000000").position, 0.5);
    EXPECT_EQ(ParseControlPoint("25e-2=000000").position, 0.25);
}

TEST(ParseRectangleTest, ReadsFourNumbers)
{
    EXPECT_EQ(ParseRectangle("10,20,110,70"), (Rectangle{10, 20, 110, 70}));
    EXPECT_EQ(ParseRectangle("0,0,1,2147483647"), (Rectangle{0, 0, 1, 2147483647}));
}

struct WrongArgument
{
    std::function<void(const char*)> parse;
    const char* text;
    const char* complaint;
};

void PrintTo(const WrongArgument& wrong, std::ostream* stream)
{
    *stream << wrong.text;
}

class WrongArgumentTest : public testing::TestWithParam<WrongArgument>
{
};

TEST_P(WrongArgumentTest, IsRefusedWithTheValueThatIsWrong)
{
    try {
        GetParam().parse(GetParam().text);
        FAIL() << "was accepted";
    } catch (const std::invalid_argument& error) {
        EXPECT_NE(std::string(error.what()).find(GetParam().complaint), std::string::npos) << error.what();
    }
}

void ControlPointOf(const char* text)
{
    ParseControlPoint(text);
}

void RectangleOf(const char* text)
{
    ParseRectangle(text);
}

INSTANTIATE_TEST_SUITE_P(ControlPoints, WrongArgumentTest,
                         testing::Values(WrongArgument{ControlPointOf, "", "POSITION=RRGGBB"},
                                         WrongArgument{ControlPointOf, "0.5", "POSITION=RRGGBB"},
                                         WrongArgument{ControlPointOf, "0=000000=1", "POSITION=RRGGBB"},
                                         WrongArgument{ControlPointOf, "=000000", "from 0 to 1, not ''"},
                                         WrongArgument{ControlPointOf, "-0.1=000000", "from 0 to 1"},
                                         WrongArgument{ControlPointOf, "1.01=000000", "from 0 to 1"},
                                         WrongArgument{ControlPointOf, "nan=000000", "from 0 to 1"},
                                         WrongArgument{ControlPointOf, "0.5x=000000",
                                                       "from 0 to 1, not '0.5x'"},
                                         WrongArgument{ControlPointOf, "0,5=000000", "from 0 to 1"},
                                         WrongArgument{ControlPointOf, "0=", "RRGGBB, not ''"},
                                         WrongArgument{ControlPointOf, "0=00000", "RRGGBB"},
                                         WrongArgument{ControlPointOf, "0=0000000", "RRGGBB"},
                                         WrongArgument{ControlPointOf, "0=##00000", "RRGGBB"},
                                         WrongArgument{ControlPointOf, "0=-12345", "RRGGBB"},
                                         WrongArgument{ControlPointOf, "0=0x1234", "RRGGBB"},
                                         WrongArgument{ControlPointOf, "0=00000g", "RRGGBB, not '00000g'"}));

INSTANTIATE_TEST_SUITE_P(Rectangles, WrongArgumentTest,
                         testing::Values(WrongArgument{RectangleOf, "", "four values"},
                                         WrongArgument{RectangleOf, "1,2,3", "four values"},
                                         WrongArgument{RectangleOf, "1,2,3,4,5", "four values"},
                                         WrongArgument{RectangleOf, "-1,0,3,4", "L must be at least 0"},
                                         WrongArgument{RectangleOf, "0,-1,3,4", "T must be at least 0"},
                                         WrongArgument{RectangleOf, "3,0,3,4", "R must be greater than L"},
                                         WrongArgument{RectangleOf, "0,4,3,3", "B must be greater than T"},
                                         WrongArgument{RectangleOf, "0,0,3,x", "B must be a whole number"},
                                         WrongArgument{RectangleOf, "0,0,2147483648,1",
                                                       "R must be a whole number"}));

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
