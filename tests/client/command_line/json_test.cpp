#include "client/command_line/json.h"

#include <gtest/gtest.h>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

TEST(JsonTest, TextIsUtf8AndEscapedWhereJsonWantsIt)
{
    EXPECT_EQ(JsonLine("Größe \"画像\"\\\n"), "\"Größe \\\"画像\\\"\\\\\\n\"\n");
}

TEST(JsonTest, WhatIsNoUtf8IsReplaced)
{
    EXPECT_EQ(JsonLine("a\xFF"), "\"a\xEF\xBF\xBD\"\n");
}

TEST(JsonTest, AnErrorHasItsCodeWhereItHasOne)
{
    EXPECT_EQ(JsonLine(ErrorJson("no", "0x80070005")), "{\"error\":\"no\",\"code\":\"0x80070005\"}\n");
    EXPECT_EQ(JsonLine(ErrorJson("no", "")), "{\"error\":\"no\",\"code\":null}\n");
}

TEST(JsonTest, MembersKeepTheirOrderAndAreReplacedInTheirPlace)
{
    Json object = {{"b", 1}, {"a", true}};
    object["c"] = Json::Array{1, "two", nullptr};
    object["b"] = 2.5;
    EXPECT_EQ(JsonLine(object), "{\"b\":2.5,\"a\":true,\"c\":[1,\"two\",null]}\n");
}

TEST(JsonTest, NothingBecomesAnObjectWithItsFirstMember)
{
    Json object;
    object["a"]["b"] = 1;
    EXPECT_EQ(object, (Json{{"a", {{"b", 1}}}}));
}

TEST(JsonTest, AnEmptyArrayAndAnEmptyObjectAreNotNull)
{
    EXPECT_EQ(JsonLine(Json::Array()), "[]\n");
    EXPECT_EQ(JsonLine({{"none", Json::Array()}}), "{\"none\":[]}\n");
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
