#include "image/extent.h"

#include "tests/component/image/extent_cases.h"

#include <gtest/gtest.h>

#include <random>
#include <stdexcept>

using namespace Mardu::Sentel::Tavlo;

namespace {

TavloDescriptorData GeometryOf(const ExtentCase& tested)
{
    return {tested.width,  tested.height,  tested.bits,   tested.encoding,
            tested.offset, tested.strideX, tested.strideY};
}

class ExtentRule : public testing::TestWithParam<ExtentCase>
{
};

/// The rule pixel by pixel.
bool EveryPixelLiesWithin(const TavloDescriptorData& d, std::int64_t bytes)
{
    for (std::int64_t y = 0; y < d.Height; ++y)
        for (std::int64_t x = 0; x < d.Width; ++x) {
            const std::int64_t at = d.Offset + x * d.Stride_x + y * d.Stride_y;
            if (at < 0 || at + (d.Bits + 7) / 8 > bytes)
                return false;
        }
    return true;
}

} // namespace

TEST_P(ExtentRule, HasItsAnswer)
{
    const TavloDescriptorData data = GeometryOf(GetParam());
    EXPECT_EQ(LiesWithin(data, GetParam().bytes), GetParam().liesWithin);
    EXPECT_EQ(LiesWithin(LayoutOf(data), GetParam().bytes), GetParam().liesWithin);
}

TEST_P(ExtentRule, RefusesWithAText)
{
    try {
        RequireWithin(GeometryOf(GetParam()), GetParam().bytes);
        EXPECT_TRUE(GetParam().liesWithin);
    } catch (const std::invalid_argument& error) {
        EXPECT_FALSE(GetParam().liesWithin);
        EXPECT_STREQ(error.what(), "The image's geometry reaches outside its memory");
    }
}

INSTANTIATE_TEST_SUITE_P(Of, ExtentRule, testing::ValuesIn(extentCases),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST(Extent, IsThatOfEveryPixel)
{
    std::mt19937 random(7);
    const auto between = [&](std::int32_t from, std::int32_t to) {
        return std::uniform_int_distribution<std::int32_t>(from, to)(random);
    };
    int within = 0;
    for (int i = 0; i < 20000; ++i) {
        const TavloDescriptorData data = {between(0, 5),    between(0, 5),  8 * between(1, 4), Tavlo_Unsigned,
                                          between(-10, 60), between(-9, 9), between(-30, 30)};
        const std::int32_t bytes = between(0, 200);
        const bool expected = EveryPixelLiesWithin(data, bytes);
        ASSERT_EQ(LiesWithin(data, static_cast<std::uint64_t>(bytes)), expected) << i;
        within += expected ? 1 : 0;
    }
    EXPECT_GT(within, 2000);
    EXPECT_LT(within, 18000);
}

TEST(Extent, IsThatOfEveryChannel)
{
    ImageLayout layout = {4, 3, {{8, Tavlo_Unsigned, 0, 1, 4}, {8, Tavlo_Unsigned, 12, 1, 4}}};
    EXPECT_TRUE(LiesWithin(layout, 24));
    layout.Channels.back().Offset = 13;
    EXPECT_FALSE(LiesWithin(layout, 24));
    EXPECT_TRUE(LiesWithin(ImageLayout{4, 3, {}}, 0));
}

// What the size rule makes room for is where the pixels are, unless they begin before byte 0 or
// are too many for 32 bits.
TEST(Extent, IsWithinTheSizeRule)
{
    for (const ExtentCase& tested : extentCases) {
        const TavloDescriptorData data = GeometryOf(tested);
        if (tested.liesWithin && tested.bytes > 0) {
            EXPECT_TRUE(LiesWithin(data, static_cast<std::uint64_t>(RawDataSize(LayoutOf(data)))))
                << tested.name;
        }
    }
}
