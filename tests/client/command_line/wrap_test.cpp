#include "client/command_line/wrap.h"

#include <gtest/gtest.h>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

TEST(WrapTest, BreaksBetweenWordsAtTheWidth)
{
    EXPECT_EQ(Wrapped("one two three", 0, 7), "one two\nthree\n");
    EXPECT_EQ(Wrapped("one two three", 0, 6), "one\ntwo\nthree\n");
    EXPECT_EQ(Wrapped("one two three", 0, 13), "one two three\n");
}

TEST(WrapTest, IndentsEveryLine)
{
    EXPECT_EQ(Wrapped("one two three", 2, 9), "  one two\n  three\n");
}

TEST(WrapTest, AWordThatIsTooLongHasItsOwnLine)
{
    EXPECT_EQ(Wrapped("a verylongword b", 0, 5), "a\nverylongword\nb\n");
}

TEST(WrapTest, KeepsParagraphsApart)
{
    EXPECT_EQ(Wrapped("one\n\ntwo", 1, 10), " one\n\n two\n");
}

TEST(WrapTest, CountsCharactersAndNotTheirBytes)
{
    EXPECT_EQ(Wrapped("öä üß", 0, 5), "öä üß\n");
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
