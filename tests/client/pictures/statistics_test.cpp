#include "client/pictures/statistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

std::vector<ComponentStatistics> Of(const Descriptor& descriptor, const void* memory)
{
    return StatisticsOf(descriptor, *SampleTypeOf(descriptor), static_cast<const std::uint8_t*>(memory));
}

TEST(StatisticsTest, OfGreyBytes)
{
    const std::uint8_t memory[] = {3, 7, 0, 255, 9, 8};
    const auto all = Of({3, 2, 8, Encoding::Unsigned, 0, 1, 3}, memory);
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(all[0].count, 6u);
    EXPECT_EQ(std::get<std::uint64_t>(all[0].minimum), 0u);
    EXPECT_EQ(std::get<std::uint64_t>(all[0].maximum), 255u);
    EXPECT_DOUBLE_EQ(all[0].mean, 47.0);
}

TEST(StatisticsTest, OfEachColourByItself)
{
    const std::uint8_t memory[] = {1, 2, 3, 5, 6, 9};
    const auto all = Of({2, 1, 24, Encoding::BGR, 0, 3, 6}, memory);
    ASSERT_EQ(all.size(), 3u);
    EXPECT_EQ(all[0].name, "blue");
    EXPECT_DOUBLE_EQ(all[0].mean, 3.0);
    EXPECT_DOUBLE_EQ(all[1].mean, 4.0);
    EXPECT_DOUBLE_EQ(all[2].mean, 6.0);
}

TEST(StatisticsTest, LeavesPaddingOut)
{
    const std::uint8_t memory[] = {1, 2, 99, 3, 4, 99};
    const auto all = Of({2, 2, 8, Encoding::Unsigned, 0, 1, 3}, memory);
    EXPECT_EQ(std::get<std::uint64_t>(all[0].maximum), 4u);
}

TEST(StatisticsTest, FollowsNegativeStrides)
{
    const std::int16_t memory[] = {-5, 4, 3, 2, 1, 0};
    const auto all = Of({3, 2, 16, Encoding::Signed, 10, -2, -6}, memory);
    EXPECT_EQ(all[0].count, 6u);
    EXPECT_EQ(std::get<std::int64_t>(all[0].minimum), -5);
    EXPECT_EQ(std::get<std::int64_t>(all[0].maximum), 4);
}

TEST(StatisticsTest, ReadsSamplesAtOddAddresses)
{
    std::uint8_t memory[9] = {};
    const std::uint64_t value = 0xFFFFFFFFFFFFFFFF;
    std::memcpy(memory + 1, &value, sizeof value);
    const auto all = Of({1, 1, 64, Encoding::Unsigned, 1, 8, 8}, memory);
    EXPECT_EQ(ValueText(all[0].maximum), "18446744073709551615");
}

TEST(StatisticsTest, KeepsNaNApart)
{
    const float memory[] = {std::nanf(""), 0.5f, -1.5f};
    const auto all = Of({3, 1, 32, Encoding::Float, 0, 4, 12}, memory);
    EXPECT_EQ(all[0].notNumbers, 1u);
    EXPECT_EQ(all[0].count, 2u);
    EXPECT_EQ(std::get<double>(all[0].minimum), -1.5);
    EXPECT_DOUBLE_EQ(all[0].mean, -0.5);
}

TEST(StatisticsTest, NothingButNaNHasNoCount)
{
    const double memory[] = {std::nan("")};
    EXPECT_EQ(Of({1, 1, 64, Encoding::Float, 0, 8, 8}, memory)[0].count, 0u);
}

TEST(ValueTextTest, WritesIntegersInFullAndFloatsShort)
{
    EXPECT_EQ(ValueText(Value(std::int64_t{-42})), "-42");
    EXPECT_EQ(ValueText(Value(0.1)), "0.1");
    EXPECT_EQ(ValueText(Value(std::numeric_limits<double>::infinity())), "inf");
}

TEST(StatisticsTest, TellsOfEveryRowOfEveryComponent)
{
    const std::uint8_t memory[12] = {};
    const Descriptor descriptor{2, 2, 24, Encoding::RGB, 0, 3, 6};
    std::vector<std::pair<std::int64_t, std::int64_t>> told;
    StatisticsOf(descriptor, *SampleTypeOf(descriptor), memory,
                 [&](std::int64_t done, std::int64_t total) { told.emplace_back(done, total); });
    const std::vector<std::pair<std::int64_t, std::int64_t>> expected = {{1, 6}, {2, 6}, {3, 6},
                                                                         {4, 6}, {5, 6}, {6, 6}};
    EXPECT_EQ(told, expected);
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
