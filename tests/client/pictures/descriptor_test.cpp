#include "client/pictures/descriptor.h"

#include <gtest/gtest.h>

#include <limits>

#include <stdexcept>
#include <string>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

TEST(ParseDescriptorTest, ReadsSevenNumbers)
{
    const Descriptor expected{640, 480, 16, Encoding::Unsigned, 613120, -2, -1280};
    EXPECT_EQ(ParseDescriptor("640,480,16,0,613120,-2,-1280"), expected);
}

TEST(ParseDescriptorTest, ReadsEncodingNamesInAnyCase)
{
    EXPECT_EQ(ParseDescriptor("1,1,32,BGRA,0,4,4").encoding, Encoding::BGRA);
    EXPECT_EQ(ParseDescriptor("1,1,32,bgra,0,4,4").encoding, Encoding::BGRA);
    EXPECT_EQ(ParseDescriptor("1,1,64,complex_FLOAT,0,8,8").encoding, Encoding::ComplexFloat);
}

TEST(ParseDescriptorTest, ReadsWhatDescriptorTextWrites)
{
    const Descriptor descriptor{3, 2, 24, Encoding::BGR, 12, 3, -12};
    EXPECT_EQ(DescriptorText(descriptor), "3,2,24,5,12,3,-12");
    EXPECT_EQ(ParseDescriptor(DescriptorText(descriptor)), descriptor);
}

struct WrongDescriptor
{
    const char* text;
    const char* complaint;
};

void PrintTo(const WrongDescriptor& wrong, std::ostream* stream)
{
    *stream << wrong.text;
}

class WrongDescriptorTest : public testing::TestWithParam<WrongDescriptor>
{
};

TEST_P(WrongDescriptorTest, IsRefusedWithTheValueThatIsWrong)
{
    try {
        ParseDescriptor(GetParam().text);
        FAIL() << "was accepted";
    } catch (const std::invalid_argument& error) {
        EXPECT_NE(std::string(error.what()).find(GetParam().complaint), std::string::npos) << error.what();
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, WrongDescriptorTest,
    testing::Values(WrongDescriptor{"", "seven values"}, WrongDescriptor{"1,2,8,0,0,1", "seven values"},
                    WrongDescriptor{"1,2,8,0,0,1,1,1", "seven values"},
                    WrongDescriptor{"0,2,8,0,0,1,1", "W must be at least 1"},
                    WrongDescriptor{"1,-2,8,0,0,1,1", "H must be at least 1"},
                    WrongDescriptor{"1,2,0,0,0,1,1", "BITS must be at least 1"},
                    WrongDescriptor{"1,2,8,grey,0,1,1", "not 'grey'"},
                    WrongDescriptor{"1,2,8,18,0,1,1", "number from 0 to 17"},
                    WrongDescriptor{"1,2,8,-1,0,1,1", "number from 0 to 17"},
                    WrongDescriptor{"1,2,8,0,x,1,1", "OFFSET must be a whole number"},
                    WrongDescriptor{"1,2,8,0,0,,1", "SX must be a whole number"},
                    WrongDescriptor{"1,2,8,0,0,1,1 ", "SY must be a whole number"},
                    WrongDescriptor{"1,2,8,0,0,1,2147483648", "SY must be a whole number"}));

TEST(ParsePixelTypeTest, ReadsANameInAnyCaseOrANumberAndTheBits)
{
    EXPECT_EQ(ParsePixelType("Unsigned,8"), (PixelType{Encoding::Unsigned, 8}));
    EXPECT_EQ(ParsePixelType("bgr,24"), (PixelType{Encoding::BGR, 24}));
    EXPECT_EQ(ParsePixelType("4,32"), (PixelType{Encoding::RGBA, 32}));
}

TEST(ParsePixelTypeTest, RefusesAnythingElse)
{
    for (const char* text :
         {"", "RGB", "RGB,24,1", "RGB,", ",24", "grey,8", "18,8", "RGB,0", "RGB,x", "RGB, 24"})
        EXPECT_THROW(ParsePixelType(text), std::invalid_argument) << text;
}

TEST(PixelTypeTextTest, HasTheBitsInParentheses)
{
    EXPECT_EQ(PixelTypeText({Encoding::RGBA, 32}), "RGBA(32)");
}

TEST(PackedGeometryTest, LeavesNoBytesBetweenPixelsAndRows)
{
    EXPECT_EQ(PackedGeometry(5, 3, {Encoding::RGB, 24}), (Descriptor{5, 3, 24, Encoding::RGB, 0, 3, 15}));
    EXPECT_EQ(PackedGeometry(5, 3, {Encoding::Unsigned, 12}),
              (Descriptor{5, 3, 12, Encoding::Unsigned, 0, 2, 10}));
}

TEST(PackedGeometryTest, KeepsRowsOfOnePixelApart)
{
    EXPECT_EQ(PackedGeometry(1, 3, {Encoding::RGBA, 32}), (Descriptor{1, 3, 32, Encoding::RGBA, 0, 4, 8}));
}

TEST(PackedGeometryTest, IsNothingForMoreBytesThanAnImageCanHave)
{
    EXPECT_TRUE(PackedGeometry(2147483647, 1, {Encoding::Unsigned, 8}));
    EXPECT_FALSE(PackedGeometry(2147483647, 1, {Encoding::Unsigned, 9}));
    EXPECT_TRUE(PackedGeometry(32768, 65535, {Encoding::Unsigned, 8}));
    EXPECT_FALSE(PackedGeometry(32768, 65536, {Encoding::Unsigned, 8}));
    EXPECT_FALSE(PackedGeometry(2147483647, 2147483647, {Encoding::FloatVector4D, 2147483647}));
}

TEST(EncodingTextTest, FallsBackToTheNumber)
{
    EXPECT_EQ(EncodingText(Encoding::ComplexFloatHalfOdd), "Complex_Float_Half_Odd");
    EXPECT_EQ(EncodingText(static_cast<Encoding>(6)), "6");
}

TEST(BytesTouchedTest, CoversAllFourCorners)
{
    EXPECT_EQ(BytesTouched({4, 3, 8, Encoding::Unsigned, 0, 1, 4}, 1), (ByteRange{0, 12}));
    EXPECT_EQ(BytesTouched({4, 3, 8, Encoding::Unsigned, 8, 1, -4}, 1), (ByteRange{0, 12}));
    EXPECT_EQ(BytesTouched({4, 3, 16, Encoding::Unsigned, 22, -2, -8}, 2), (ByteRange{0, 24}));
    EXPECT_EQ(BytesTouched({4, 3, 8, Encoding::Unsigned, 0, -1, 4}, 1), (ByteRange{-3, 9}));
}

TEST(BytesTouchedTest, DoesNotWrapAround)
{
    const Descriptor descriptor{2147483647, 2147483647, 8,          Encoding::Unsigned,
                                2147483647, 2147483647, -2147483647};
    const ByteRange range = BytesTouched(descriptor, 1);
    EXPECT_EQ(range.begin, 2147483647 - 2147483646LL * 2147483647);
    EXPECT_EQ(range.end, 2147483648 + 2147483646LL * 2147483647);
}

TEST(ImageSizeTest, IsTheEndOfTheFurthestElement)
{
    EXPECT_EQ(ImageSize({4, 3, 8, Encoding::Unsigned, 0, 1, 4}), 12);
    EXPECT_EQ(ImageSize({4, 3, 8, Encoding::Unsigned, 8, 1, -4}), 12);
    EXPECT_EQ(ImageSize({2, 2, 8, Encoding::Unsigned, 0, 3, 6}), 12);
    EXPECT_EQ(ImageSize({1, 1, 28, Encoding::Data, 100, 5, 5}), 128);
}

TEST(BytesTouchedTest, AnImageWithoutPixelsTouchesNone)
{
    constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
    EXPECT_EQ(BytesTouched({0, 3, 8, Encoding::Unsigned, 7, 1, 4}, 1), (ByteRange{7, 7}));
    EXPECT_EQ(BytesTouched({4, -3, 8, Encoding::Unsigned, 7, 1, 4}, 1), (ByteRange{7, 7}));
    EXPECT_EQ(BytesTouched({least, least, 8, Encoding::Unsigned, 7, least, least}, 1), (ByteRange{7, 7}));
}

TEST(BytesTouchedTest, TheLargestGeometryIsCountedIn64Bits)
{
    constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
    constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
    constexpr std::int64_t far = (std::int64_t{most} - 1) * most;
    EXPECT_EQ(BytesTouched({most, most, 8, Encoding::Unsigned, most, most, most}, 8),
              (ByteRange{most, most + 2 * far + 8}));
    EXPECT_EQ(BytesTouched({most, most, 8, Encoding::Unsigned, 0, least, least}, 8).begin,
              2 * ((std::int64_t{most} - 1) * least));
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
