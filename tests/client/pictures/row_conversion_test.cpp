#include "client/pictures/row_conversion.h"

#include <gtest/gtest.h>

#include <vector>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(CopyRowTest, TakesThePaddingBetweenSamplesOut)
{
    const Bytes memory = {1, 2, 0, 3, 4, 0, 5, 6, 0, 7, 8, 0};
    Bytes row(4);
    CopyRow({2, 2, 16, Encoding::Unsigned, 0, 3, 6}, memory.data(), 1, row);
    EXPECT_EQ(row, (Bytes{5, 6, 7, 8}));
}

TEST(CopyRowTest, TurnsMirroredImagesRound)
{
    const Bytes memory = {1, 2, 3, 4, 5, 6};
    Bytes row(3);
    CopyRow({3, 2, 8, Encoding::Unsigned, 5, -1, -3}, memory.data(), 0, row);
    EXPECT_EQ(row, (Bytes{6, 5, 4}));
    CopyRow({3, 2, 8, Encoding::Unsigned, 3, 1, -3}, memory.data(), 1, row);
    EXPECT_EQ(row, (Bytes{1, 2, 3}));
}

SampleTable TenTimesTheIndex()
{
    SampleTable table{};
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = {static_cast<std::uint8_t>(i * 10), static_cast<std::uint8_t>(i), 7, 9};
    return table;
}

TEST(UnpackIndicesTest, ReadsTheLeftmostIndexFromTheHighestBits)
{
    const SampleTable table = TenTimesTheIndex();
    Bytes row(9);
    UnpackIndices(Bytes{0b1010'0000, 0b1000'0000}, 1, table, 1, row);
    EXPECT_EQ(row, (Bytes{10, 0, 10, 0, 0, 0, 0, 0, 10}));
    row.resize(3);
    UnpackIndices(Bytes{0b00'01'10'11}, 2, table, 1, row);
    EXPECT_EQ(row, (Bytes{0, 10, 20}));
    UnpackIndices(Bytes{0x12, 0x30}, 4, table, 1, row);
    EXPECT_EQ(row, (Bytes{10, 20, 30}));
    UnpackIndices(Bytes{3, 2, 1}, 8, table, 1, row);
    EXPECT_EQ(row, (Bytes{30, 20, 10}));
}

TEST(UnpackIndicesTest, WritesWholeSamples)
{
    Bytes row(6);
    UnpackIndices(Bytes{0x21}, 4, TenTimesTheIndex(), 3, row);
    EXPECT_EQ(row, (Bytes{20, 2, 7, 10, 1, 7}));
}

TEST(NarrowChannelsTest, RoundsToTheNearest)
{
    const std::vector<std::uint16_t> wide = {0, 128, 129, 257, 32768, 65406, 65407, 65535};
    Bytes narrow(wide.size());
    NarrowChannels(wide, narrow);
    EXPECT_EQ(narrow, (Bytes{0, 0, 1, 1, 128, 254, 255, 255}));
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
