#include "recode/lut_recoder.h"
#include "recode/recode.h"
#include "tests/component/recode/memory_image.h"

#include <gtest/gtest.h>

#include <string>

using namespace Mardu::Sentel::Tavlo;
using reference::Bytes;
using reference::Kind;

namespace {

/// One pair of every family, and the pairs that are copied.
struct ViewCase
{
    const char* name;
    Kind source;
    Kind target;
};

/// A test is listed by this.
void PrintTo(const ViewCase& parameter, std::ostream* out)
{
    *out << parameter.name;
}

constexpr ViewCase viewCases[] = {
    {"Table", {8, Tavlo_Unsigned}, {16, Tavlo_Signed}},
    {"BitField", {12, Tavlo_Signed}, {8, Tavlo_Unsigned}},
    {"ToBitField", {8, Tavlo_Unsigned}, {12, Tavlo_Unsigned}},
    {"Direct", {32, Tavlo_Float}, {64, Tavlo_Float}},
    {"GreyToRGB", {8, Tavlo_Unsigned}, {24, Tavlo_RGB}},
    {"GreyToBGR", {12, Tavlo_Unsigned}, {24, Tavlo_BGR}},
    {"GreyToRGBInFourBytes", {16, Tavlo_Unsigned}, {32, Tavlo_RGB}},
    {"GreyToRGBA", {32, Tavlo_Float}, {32, Tavlo_RGBA}},
    {"GreyToBGRA", {8, Tavlo_Unsigned}, {32, Tavlo_BGRA}},
    {"ColorToGrey", {24, Tavlo_BGR}, {16, Tavlo_Unsigned}},
    {"FourBytesToGrey", {32, Tavlo_RGB}, {8, Tavlo_Unsigned}},
    {"ColorToAlpha", {24, Tavlo_RGB}, {32, Tavlo_BGRA}},
    {"ColorToSwapped", {24, Tavlo_RGB}, {24, Tavlo_BGR}},
    {"AlphaToSwapped", {32, Tavlo_RGBA}, {32, Tavlo_BGRA}},
    {"CopyOfBytes", {8, Tavlo_Signed}, {8, Tavlo_Signed}},
    {"CopyOfWords", {12, Tavlo_Unsigned}, {16, Tavlo_Unsigned}},
    {"CopyOfColor", {24, Tavlo_RGB}, {24, Tavlo_RGB}},
    {"CopyOfColorInFourBytes", {32, Tavlo_BGR}, {32, Tavlo_BGR}},
    {"CopyOfAlpha", {32, Tavlo_BGRA}, {32, Tavlo_BGRA}},
    {"CopyOfDoubles", {64, Tavlo_Float}, {64, Tavlo_Float}},
    {"HighByte", {16, Tavlo_Signed}, {8, Tavlo_Signed}},
};

class Views : public testing::TestWithParam<ViewCase>
{
protected:
    int Below(int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); }

    Arrangement AnyArrangement()
    {
        return {Below(2) * Below(6), Below(2) * Below(9), Below(2) == 1, Below(2) == 1, Below(2) == 1};
    }

    MemoryImage AnyImage(const Kind& kind, int leastWidth, int leastHeight)
    {
        const Arrangement arrangement = AnyArrangement();
        return {kind, leastWidth + Below(5), leastHeight + Below(5), arrangement, random};
    }

    static Kind Packed(const Kind& kind)
    {
        return {kind.bits == 32 && (kind.encoding == Tavlo_RGB || kind.encoding == Tavlo_BGR) ? 24
                                                                                              : kind.bits,
                kind.encoding};
    }

    Bytes Expected(const std::uint8_t* pixel, bool byValue) const
    {
        const Kind source = Packed(GetParam().source);
        const Kind target = Packed(GetParam().target);
        if (byValue ? source == target : reference::AreCopied(source, target)) {
            Bytes same{reference::SizeOf(target), {}};
            std::copy_n(pixel, same.count, same.data);
            return same;
        }
        if (!byValue && source.encoding == target.encoding && source.bits == 16 && target.bits == 8)
            return {1, {pixel[1]}};
        const reference::Pair pair(source, target);
        return byValue ? pair.Casted(pixel) : pair.Recoded(pixel, {});
    }

    /// Converts random regions between random arrangements and compares all of the target's
    /// memory, so that a byte changed outside the region is as wrong as a pixel.
    void ExpectRegions(bool byValue)
    {
        if (byValue && reference::ClassOf(GetParam().source, GetParam().target).empty())
            return;
        for (int round = 0; round < 400; ++round) {
            const int width = Below(round % 7 == 0 ? 2 : 9);
            const int height = Below(round % 5 == 0 ? 2 : 9);
            MemoryImage source = AnyImage(GetParam().source, width, height);
            MemoryImage target = AnyImage(GetParam().target, width, height);
            const PixelPoint from{Below(source.descriptor.Width - width + 1),
                                  Below(source.descriptor.Height - height + 1)};
            const PixelPoint to{Below(target.descriptor.Width - width + 1),
                                Below(target.descriptor.Height - height + 1)};
            const PixelRect rect{from.x, from.y, from.x + width, from.y + height};

            MemoryImage expected = target;
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x)
                    expected.Set(to.x + x, to.y + y, Expected(source.Pixel(from.x + x, from.y + y), byValue));

            const auto convert = byValue ? Cast : Recode;
            ASSERT_EQ(convert(source.descriptor, source.bytes.data(), target.descriptor, target.bytes.data(),
                              &rect, &to),
                      RecodeResult::done);
            ASSERT_TRUE(SameImage(target, expected)) << "round " << round;
        }
    }

    std::mt19937 random{20240611};
};

} // namespace

TEST_P(Views, AreConvertedInAnyArrangementAndNothingElseChanges)
{
    ExpectRegions(false);
}

TEST_P(Views, AreCastInAnyArrangementAndNothingElseChanges)
{
    ExpectRegions(true);
}

INSTANTIATE_TEST_SUITE_P(Of, Views, testing::ValuesIn(viewCases),
                         [](const auto& view) { return std::string(view.param.name); });

namespace {

/// Three grey pixels to colour, in a target of this many bytes that holds 0xEE before.
std::vector<std::uint8_t> Colored(const TavloDescriptorData& target, std::size_t size)
{
    const std::uint8_t source[] = {0x10, 0x20, 0x30};
    std::vector<std::uint8_t> bytes(size, 0xEE);
    EXPECT_EQ(Recode({3, 1, 8, Tavlo_Unsigned, 0, 1, 3}, source, target, bytes.data()), RecodeResult::done);
    return bytes;
}

} // namespace

TEST(GreyToColor, LeavesTheByteAfterTheLastPixelOfARowUntouched)
{
    EXPECT_EQ(Colored({3, 1, 24, Tavlo_RGB, 0, 3, 9}, 10),
              (std::vector<std::uint8_t>{0x10, 0x10, 0x10, 0x20, 0x20, 0x20, 0x30, 0x30, 0x30, 0xEE}));
}

TEST(GreyToColor, LeavesTheBytesBetweenSeparatePixelsUntouched)
{
    EXPECT_EQ(
        Colored({3, 1, 32, Tavlo_BGR, 0, 4, 12}, 12),
        (std::vector<std::uint8_t>{0x10, 0x10, 0x10, 0xEE, 0x20, 0x20, 0x20, 0xEE, 0x30, 0x30, 0x30, 0xEE}));
}

TEST(GreyToColor, KeepsTheNeighbourToTheRightOfARegionOnEveryRow)
{
    const std::uint8_t source[] = {1, 2, 3, 4};
    std::vector<std::uint8_t> target(2 * 9, 0xEE);
    const PixelPoint point{0, 0};
    ASSERT_EQ(Recode({2, 2, 8, Tavlo_Unsigned, 0, 1, 2}, source, {3, 2, 24, Tavlo_RGB, 0, 3, 9},
                     target.data(), nullptr, &point),
              RecodeResult::done);
    EXPECT_EQ(target, (std::vector<std::uint8_t>{1, 1, 1, 2, 2, 2, 0xEE, 0xEE, 0xEE, 3, 3, 3, 4, 4, 4, 0xEE,
                                                 0xEE, 0xEE}));
}

TEST(GreyToColor, WritesAlphaOfTwentyFourBitTargetsOnlyWherePixelsAreFourBytesApart)
{
    const std::uint8_t source[] = {0, 0, 0xFF, 0xFF};
    const TavloDescriptorData grey{2, 1, 16, Tavlo_Unsigned, 0, 2, 4};
    std::vector<std::uint8_t> target(8, 0xEE);
    ASSERT_EQ(Recode(grey, source, {2, 1, 24, Tavlo_BGRA, 0, 4, 8}, target.data()), RecodeResult::done);
    EXPECT_EQ(target, (std::vector<std::uint8_t>{0, 0, 0, 255, 255, 255, 255, 255}));

    target.assign(8, 0xEE);
    ASSERT_EQ(Recode(grey, source, {2, 1, 24, Tavlo_BGRA, 0, 3, 6}, target.data()), RecodeResult::done);
    EXPECT_EQ(target, (std::vector<std::uint8_t>{0, 0, 0, 255, 255, 255, 0xEE, 0xEE}));
}

TEST(EqualStrides, AreWalkedUntransposed)
{
    // One column: both strides say the same, and only Stride_y is ever used.
    const std::uint8_t source[] = {1, 2, 3};
    std::vector<std::uint8_t> target(6, 0xEE);
    ASSERT_EQ(Recode({1, 3, 8, Tavlo_Unsigned, 0, 1, 1}, source, {1, 3, 16, Tavlo_Unsigned, 0, 2, 2},
                     target.data()),
              RecodeResult::done);
    EXPECT_EQ(target, (std::vector<std::uint8_t>{1, 1, 2, 2, 3, 3}));
}
