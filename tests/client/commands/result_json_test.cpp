#include "client/commands/result_json.h"

#include <gtest/gtest.h>

#include <limits>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

template <class T>
std::string LineOf(const T& value)
{
    return JsonLine(JsonOf(value));
}

TEST(JsonTest, ADescriptorHasItsFieldsAndItsSizeInBytes)
{
    EXPECT_EQ(LineOf(Descriptor{37, 11, 12, Encoding::Unsigned, 4, 2, -80}),
              "{\"width\":37,\"height\":11,\"bits\":12,\"encoding\":\"Unsigned\",\"offset\":4,"
              "\"stride_x\":2,\"stride_y\":-80,\"size\":78}\n");
}

TEST(JsonTest, SizesAreNumbersOf64Bits)
{
    EXPECT_EQ(JsonOf(Descriptor{2, 3, 8, Encoding::Unsigned, 0, 1, 2147483647})["size"], 4294967296);
}

TEST(JsonTest, AnEncodingWithoutANameIsItsNumberAsText)
{
    EXPECT_EQ(JsonOf(Descriptor{1, 1, 8, static_cast<Encoding>(6), 0, 1, 1})["encoding"], "6");
}

TEST(JsonTest, ARectangleHasItsEdges)
{
    EXPECT_EQ(LineOf(Rectangle{1, 2, 3, 4}), "{\"left\":1,\"top\":2,\"right\":3,\"bottom\":4}\n");
}

TEST(JsonTest, NumbersKeepAllTheirDigits)
{
    EXPECT_EQ(LineOf(Value(std::numeric_limits<std::uint64_t>::max())), "18446744073709551615\n");
    EXPECT_EQ(LineOf(Value(std::numeric_limits<std::int64_t>::min())), "-9223372036854775808\n");
    EXPECT_EQ(LineOf(Value(0.1)), "0.1\n");
}

TEST(JsonTest, WhatJsonHasNoNumbersForIsText)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(LineOf(Value(infinity)), "\"Infinity\"\n");
    EXPECT_EQ(LineOf(Value(-infinity)), "\"-Infinity\"\n");
    EXPECT_EQ(LineOf(Value(std::numeric_limits<double>::quiet_NaN())), "\"NaN\"\n");
}

TEST(JsonTest, StatisticsOfNothingAreNull)
{
    EXPECT_EQ(
        LineOf(
            ComponentStatistics{.name = "real", .count = 0, .notNumbers = 3, .minimum = {}, .maximum = {}}),
        "{\"name\":\"real\",\"count\":0,\"nan_count\":3,\"minimum\":null,\"maximum\":null,\"mean\":null}\n");
}

TEST(JsonTest, AMeanMayBeNoNumber)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const ComponentStatistics both{
        "value", 2, 0, Value(-infinity), Value(infinity), std::numeric_limits<double>::quiet_NaN()};
    EXPECT_EQ(LineOf(both), "{\"name\":\"value\",\"count\":2,\"nan_count\":0,\"minimum\":\"-Infinity\","
                            "\"maximum\":\"Infinity\",\"mean\":\"NaN\"}\n");
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
