#include "client/command_line/near_name.h"

#include <gtest/gtest.h>

#include <array>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

constexpr std::array<std::string_view, 5> names = {"publish", "list", "info", "register", "register-common"};

struct Near
{
    std::string_view text;
    std::string_view name;
};

class NearNameTest : public testing::TestWithParam<Near>
{
};

TEST_P(NearNameTest, FindsWhatWasMeant)
{
    EXPECT_EQ(NearName(GetParam().text, names), GetParam().name);
}

INSTANTIATE_TEST_SUITE_P(All, NearNameTest,
                         testing::Values(Near{"pubish", "publish"},             // left out
                                         Near{"publisch", "publish"},           // added
                                         Near{"pubzish", "publish"},            // replaced
                                         Near{"ifno", "info"},                  // exchanged
                                         Near{"pulbihs", "publish"},            // twice
                                         Near{"pub", "publish"},                // the beginning
                                         Near{"reg", "register"},               // of the first
                                         Near{"register-c", "register-common"}, //
                                         Near{"lost", "list"},                  // of four letters one
                                         Near{"lo", ""},                        //
                                         Near{"lasso", ""},                     //
                                         Near{"p", ""},                         //
                                         Near{"", ""},                          //
                                         Near{"paint", ""}));

TEST(NearNameTest, TakesTheNearest)
{
    constexpr std::array<std::string_view, 2> two = {"watches", "watch"};
    EXPECT_EQ(NearName("wattch", two), "watch");
}

TEST(NearNameTest, EndlessTextIsNearNothing)
{
    EXPECT_EQ(NearName(std::string(100000, 'p'), names), "");
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
