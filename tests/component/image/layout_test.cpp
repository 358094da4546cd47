#include "image/layout.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <random>
#include <stdexcept>

using namespace Mardu::Sentel::Tavlo;

namespace {

constexpr std::int32_t smallest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max();

ImageLayout OneChannel(std::int32_t width, std::int32_t height, ChannelLayout channel)
{
    return {width, height, {channel}};
}

/// The 32-bit number that the low bits of an exact result are.
std::int32_t Low32(std::int64_t exact)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(exact)));
}

/// The size rule once more, in exact arithmetic cut to 32 bits after every step.
std::int64_t SlowSize(const ImageLayout& layout)
{
    std::int32_t size = 0;
    for (const ChannelLayout& c : layout.Channels) {
        if (c.Encoding == 8) {
            size = std::max(size, Low32(std::int64_t{c.Offset} + c.Bits));
            continue;
        }
        const std::int32_t ax = Low32(c.Stride_x < 0 ? -std::int64_t{c.Stride_x} : std::int64_t{c.Stride_x});
        const std::int32_t ay = Low32(c.Stride_y < 0 ? -std::int64_t{c.Stride_y} : std::int64_t{c.Stride_y});
        const std::int32_t e = std::max(Low32(std::int64_t{c.Bits} + 7) / 8, ax < ay ? ax : ay);
        const std::int32_t dx = Low32(Low32(std::int64_t{layout.Width} - 1) * std::int64_t{c.Stride_x});
        const std::int32_t dy = Low32(Low32(std::int64_t{layout.Height} - 1) * std::int64_t{c.Stride_y});
        for (std::int64_t corner :
             {std::int64_t{0}, std::int64_t{dx}, std::int64_t{dy}, std::int64_t{dx} + dy})
            size = std::max(size, Low32(std::int64_t{c.Offset} + e + corner));
    }
    return size;
}

} // namespace

TEST(RawDataSize, IsZeroWithoutChannels)
{
    EXPECT_EQ(RawDataSize({640, 480, {}}), 0);
}

TEST(RawDataSize, CoversPackedAndMirroredRowsAlike)
{
    EXPECT_EQ(RawDataSize(OneChannel(4, 3, {8, Tavlo_Unsigned, 0, 1, 4})), 12);
    EXPECT_EQ(RawDataSize(OneChannel(4, 3, {8, Tavlo_Unsigned, 8, 1, -4})), 12);
    EXPECT_EQ(RawDataSize(OneChannel(4, 3, {8, Tavlo_Unsigned, 3, -1, 4})), 12);
    EXPECT_EQ(RawDataSize(OneChannel(4, 3, {8, Tavlo_Unsigned, 11, -1, -4})), 12);
}

TEST(RawDataSize, OfDataIsOffsetPlusBytesWhateverTheStrides)
{
    EXPECT_EQ(RawDataSize(OneChannel(5, 5, {28, Tavlo_Data, 100, 7, -3000})), 128);
    EXPECT_EQ(RawDataSize(OneChannel(0, 0, {28, Tavlo_Data, 100, 0, 0})), 128);
}

TEST(RawDataSize, ReservesTheWholeLastPixelOfAnInterleavedChannel)
{
    EXPECT_EQ(RawDataSize(OneChannel(4, 3, {8, Tavlo_Unsigned, 0, 3, 12})), 36);
    EXPECT_EQ(RawDataSize(OneChannel(4, 3, {8, Tavlo_Unsigned, 2, 3, 12})), 38);
}

TEST(RawDataSize, IsTheFurthestEndOfAllChannels)
{
    const ImageLayout layout{
        4, 3, {{8, Tavlo_Unsigned, 0, 1, 4}, {16, Tavlo_Signed, 12, 2, 8}, {10, Tavlo_Data, 5, 0, 0}}};
    EXPECT_EQ(RawDataSize(layout), 36);
}

TEST(RawDataSize, IsNeverNegative)
{
    EXPECT_EQ(RawDataSize(OneChannel(1, 1, {8, Tavlo_Unsigned, -100, 1, 1})), 0);
}

TEST(RawDataSize, WrapsLikeThirtyTwoBitArithmetic)
{
    // 65536 x 65536 bytes do not fit: the corner wraps to 0 and the row's end remains.
    EXPECT_EQ(RawDataSize(OneChannel(65536, 65536, {8, Tavlo_Unsigned, 0, 1, 65536})), 65536);

    std::mt19937 random(20240611);
    std::uniform_int_distribution<std::int32_t> any(smallest, largest);
    const std::int32_t edges[] = {smallest, smallest + 1, -7, -1, 0, 1, 7, 8, 4096, largest - 1, largest};
    const auto pick = [&] {
        const auto roll = static_cast<std::uint32_t>(any(random));
        return roll % 3 != 0 ? edges[roll / 3 % std::size(edges)] : any(random);
    };
    for (int i = 0; i < 200000; ++i) {
        ImageLayout layout{pick(), pick(), {}};
        for (int channels = i % 3; channels >= 0; --channels)
            layout.Channels.push_back({pick(), i % 5 == 0 ? 8 : 0, pick(), pick(), pick()});
        ASSERT_EQ(RawDataSize(layout), SlowSize(layout)) << "case " << i;
    }
}

TEST(PlaneSize, TakesTheLargerStride)
{
    EXPECT_EQ(PlaneSize(640, 480, 1, 640), 307200);
    EXPECT_EQ(PlaneSize(640, 480, 480, 1), 307200);
    EXPECT_EQ(PlaneSize(10, 10, 4, 4), 40);
    EXPECT_EQ(PlaneSize(10, 20, 4, 4), 40);
    EXPECT_EQ(PlaneSize(640, 480, -1, -640), 307200);
    EXPECT_EQ(PlaneSize(640, 480, -480, 1), 307200);
    EXPECT_EQ(PlaneSize(640, 480, 1, smallest), 640) << "the smallest number is its own absolute value";
}

TEST(DescriptorData, ConvertsToAOneChannelLayoutAndBack)
{
    const TavloDescriptorData data{1, 2, 3, 4, 5, 6, 7};
    const ImageLayout layout = LayoutOf(data);
    EXPECT_EQ(layout, (ImageLayout{1, 2, {{3, 4, 5, 6, 7}}}));
    EXPECT_EQ(DescriptorDataOf(layout), data);
}

TEST(DescriptorData, OfALayoutWithOtherThanOneChannelIsRefused)
{
    EXPECT_THROW(DescriptorDataOf({1, 1, {}}), std::invalid_argument);
    EXPECT_THROW(DescriptorDataOf({1, 1, {{}, {}}}), std::invalid_argument);
}

TEST(DeriveDefaults, TakesBitsFromTheEncoding)
{
    const std::pair<std::int32_t, std::int32_t> published[] = {
        {Tavlo_Unsigned, 8}, {Tavlo_Signed, 8}, {Tavlo_Float, 32},
        {Tavlo_RGBA, 32},    {Tavlo_RGB, 24},   {Tavlo_BGR, 24},
    };
    for (std::int32_t encoding = -1; encoding <= 18; ++encoding) {
        TavloDescriptorData data{10, 10, 5, encoding, 0, 0, 0};
        DeriveDefaults(data, {});
        const auto* row = std::find_if(std::begin(published), std::end(published),
                                       [&](const auto& entry) { return entry.first == encoding; });
        EXPECT_EQ(data.Bits, row == std::end(published) ? 5 : row->second) << encoding;
    }
}

TEST(DeriveDefaults, ComputesEveryFieldFromTheOnesBeforeIt)
{
    TavloDescriptorData data{10, 4, 0, Tavlo_RGB, 99, 99, 99};
    DeriveDefaults(data, {});
    EXPECT_EQ(data, (TavloDescriptorData{10, 4, 24, Tavlo_RGB, 0, 3, 30}));
}

TEST(DeriveDefaults, PlacesMirroredImagesAtByteZero)
{
    TavloDescriptorData data{10, 5, 8, Tavlo_Unsigned, 0, -1, -10};
    ExplicitFields strides;
    strides.Stride_x = strides.Stride_y = true;
    DeriveDefaults(data, strides);
    EXPECT_EQ(data.Offset, 4 * 10 + 9);
}

TEST(DeriveDefaults, LeavesExplicitFieldsAlone)
{
    const TavloDescriptorData given{10, 5, 12, Tavlo_RGB, 3, 77, -88};
    TavloDescriptorData data = given;
    DeriveDefaults(data, {true, true, true, true, true, true, true});
    EXPECT_EQ(data, given);
}

TEST(DeriveDefaults, WrapsInsteadOfOverflowing)
{
    TavloDescriptorData data{largest, smallest, largest, Tavlo_Data, 0, 0, 0};
    DeriveDefaults(data, {});
    EXPECT_EQ(data.Stride_x, Low32(std::int64_t{largest} + 7) / 8);
    EXPECT_EQ(data.Stride_y, Low32(std::int64_t{largest} * data.Stride_x));
}
