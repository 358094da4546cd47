#include "client/foundation/text_parsing.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

using Parts = std::vector<std::string_view>;

TEST(FieldsTest, LieBetweenSeparatorsAlsoWhenTheyAreEmpty)
{
    EXPECT_EQ(Split("a,bc,d"), (Parts{"a", "bc", "d"}));
    EXPECT_EQ(Split(",a,,"), (Parts{"", "a", "", ""}));
    EXPECT_EQ(Split(""), (Parts{""}));
    EXPECT_EQ(Split("a=b,c", '='), (Parts{"a", "b,c"}));
}

TEST(WholeNumberTest, IsTheWholeTextOrNothing)
{
    EXPECT_EQ(WholeNumber("-2147483648"), -2147483647 - 1);
    EXPECT_EQ(WholeNumber("2147483647"), 2147483647);
    for (const char* text : {"", "2147483648", "1 ", " 1", "+1", "1.0", "0x1", "one"})
        EXPECT_EQ(WholeNumber(text), std::nullopt) << text;
}

TEST(ParseNumberFromTest, AcceptsTheSmallestNumberAndRefusesTheOneBelow)
{
    EXPECT_EQ(ParseNumberFrom(-3, "N", "-3"), -3);
    EXPECT_THROW(ParseNumberFrom(-3, "N", "-4"), std::invalid_argument);
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
