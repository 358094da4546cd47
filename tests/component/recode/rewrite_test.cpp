#include "recode/recode.h"

#include "tests/component/recode/numbers.h"
#include "tests/component/recode/text_of.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <numeric>
#include <stdexcept>
#include <vector>

using namespace Mardu::Sentel::Tavlo;

namespace {

constexpr char invalidRectangle[] = "memory_2d::make_view: invalid rectangle";

/// Ten by ten pixels, packed.
TavloDescriptorData Square(std::int32_t bits, std::int32_t encoding = Tavlo_Unsigned)
{
    const std::int32_t size = (bits + 7) / 8;
    return {10, 10, bits, encoding, 0, size, 10 * size};
}

/// A source of the bytes 0, 1, 2, ... and a target of 0xEE.
class Service : public testing::Test
{
protected:
    Service()
    {
        std::iota(source.begin(), source.end(), std::uint8_t{0});
        target.fill(0xEE);
    }

    const std::uint8_t& At(int x, int y) const { return target[static_cast<std::size_t>(y * 10 + x)]; }

    int Untouched() const { return static_cast<int>(std::count(target.begin(), target.end(), 0xEE)); }

    std::array<std::uint8_t, 1600> source;
    std::array<std::uint8_t, 1600> target;
};

using Rewriting = Service;
using Recoding = Service;
using Casting = Service;

} // namespace

TEST_F(Rewriting, CopiesTheWholeSourceByDefault)
{
    ASSERT_EQ(Rewrite(Square(8), source.data(), Square(8), target.data()), RecodeResult::done);
    EXPECT_TRUE(std::equal(target.begin(), target.begin() + 100, source.begin()));
    EXPECT_EQ(Untouched(), 1500);
}

TEST_F(Rewriting, RefusesNullPointersBeforeAnythingElse)
{
    EXPECT_EQ(Rewrite(Square(7), nullptr, Square(8), target.data()), RecodeResult::nullPointer);
    EXPECT_EQ(Rewrite(Square(7), source.data(), Square(8), nullptr), RecodeResult::nullPointer);
}

TEST_F(Rewriting, RefusesATargetOfNegativeExtent)
{
    for (auto extent : {&TavloDescriptorData::Width, &TavloDescriptorData::Height})
        for (std::int32_t value : {-1, smallest}) {
            TavloDescriptorData negative = Square(7);
            negative.*extent = value;
            EXPECT_EQ(TextOf<std::invalid_argument>(
                          [&] { (void)Rewrite(Square(8), source.data(), negative, target.data()); }),
                      invalidRectangle);
        }
}

TEST_F(Rewriting, RefusesRectanglesThatEndOutsideTheSourceOrBeforeTheyBegin)
{
    const PixelRect refused[] = {{0, 0, 11, 10},
                                 {0, 0, 10, 11},
                                 {5, 0, 4, 10},
                                 {0, 5, 10, 4},
                                 {largest, 0, smallest, 0},
                                 {smallest, smallest, largest, largest}};
    for (const PixelRect& rect : refused)
        EXPECT_EQ(TextOf<std::invalid_argument>(
                      [&] { (void)Rewrite(Square(8), source.data(), Square(8), target.data(), &rect); }),
                  invalidRectangle);
}

TEST_F(Rewriting, TakesRectanglesThatBeginOutsideTheSource)
{
    // The source lies inside a larger image, whose pixels to its left and top are read.
    TavloDescriptorData inner = Square(8);
    inner.Offset = 33;
    const PixelRect rect{-3, -3, 2, 2};
    ASSERT_EQ(Rewrite(inner, source.data(), Square(8), target.data(), &rect), RecodeResult::done);
    EXPECT_EQ(At(0, 0), 0);
    EXPECT_EQ(At(4, 4), 44);
    EXPECT_EQ(Untouched(), 1600 - 25);
}

TEST_F(Rewriting, RefusesUnknownPixelTypesOfEitherSide)
{
    EXPECT_EQ(TextOf<std::invalid_argument>(
                  [&] { (void)Rewrite(Square(8), source.data(), Square(7), target.data()); }),
              "Unsupported Tavlo encoding/bits");
    EXPECT_EQ(TextOf<std::invalid_argument>(
                  [&] { (void)Rewrite(Square(7), source.data(), Square(8), target.data()); }),
              "Unsupported Tavlo encoding/bits");
}

TEST_F(Rewriting, ChecksTheTargetsTypeBeforeTheRectangleAndThatBeforeTheSourcesType)
{
    const PixelRect outside{0, 0, 11, 10};
    EXPECT_EQ(TextOf<std::invalid_argument>(
                  [&] { (void)Rewrite(Square(8), source.data(), Square(7), target.data(), &outside); }),
              "Unsupported Tavlo encoding/bits");
    EXPECT_EQ(TextOf<std::invalid_argument>(
                  [&] { (void)Rewrite(Square(7), source.data(), Square(8), target.data(), &outside); }),
              invalidRectangle);
}

TEST_F(Rewriting, RefusesDifferentPixelTypes)
{
    EXPECT_EQ(TextOf<std::runtime_error>(
                  [&] { (void)Rewrite(Square(8), source.data(), Square(8, Tavlo_Signed), target.data()); }),
              "Rewrite: input and output images must have that same pixel type");
}

TEST_F(Rewriting, RefusesPixelTypesThatAreNotCopied)
{
    const std::pair<std::int32_t, std::int32_t> uncopyable[] = {{64, Tavlo_Unsigned},
                                                                {64, Tavlo_Signed},
                                                                {128, Tavlo_Complex_Float},
                                                                {128, Tavlo_Complex_Float_Half_Even},
                                                                {128, Tavlo_Complex_Float_Half_Odd}};
    for (const auto& [bits, encoding] : uncopyable)
        EXPECT_EQ(TextOf<std::runtime_error>(
                      [&, d = Square(bits, encoding)] { (void)Rewrite(d, source.data(), d, target.data()); }),
                  "Rewrite: unsupported pixel type");
}

TEST_F(Rewriting, CopiesEveryOtherPixelTypeWhole)
{
    const std::array<std::int32_t, 3> copyable[] = {{8, Tavlo_Unsigned, 1},
                                                    {8, Tavlo_Signed, 1},
                                                    {9, Tavlo_Unsigned, 2},
                                                    {16, Tavlo_Signed, 2},
                                                    {32, Tavlo_Unsigned, 4},
                                                    {32, Tavlo_Signed, 4},
                                                    {32, Tavlo_Float, 4},
                                                    {64, Tavlo_Float, 8},
                                                    {24, Tavlo_RGB, 3},
                                                    {24, Tavlo_BGR, 3},
                                                    {32, Tavlo_RGBA, 4},
                                                    {32, Tavlo_BGRA, 4},
                                                    {64, Tavlo_Complex_Float, 8},
                                                    {64, Tavlo_Complex_Float_Half_Even, 8},
                                                    {64, Tavlo_Complex_Float_Half_Odd, 8}};
    for (const auto& [bits, encoding, size] : copyable) {
        // A pixel of gap on either side shows how many bytes an element has.
        const TavloDescriptorData d{2, 1, bits, encoding, 0, 16, 32};
        target.fill(0xEE);
        ASSERT_EQ(Rewrite(d, source.data(), d, target.data()), RecodeResult::done);
        EXPECT_EQ(Untouched(), 1600 - 2 * size) << bits << " bits of encoding " << encoding;
        EXPECT_EQ(std::memcmp(target.data() + 16, source.data() + 16, static_cast<std::size_t>(size)), 0);
    }
}

TEST_F(Rewriting, CountsWidthsOfOneElementAsOneType)
{
    const std::uint8_t element[] = {0x34, 0xF2};
    ASSERT_EQ(Rewrite({1, 1, 12, Tavlo_Unsigned, 0, 2, 2}, element, {1, 1, 16, Tavlo_Unsigned, 0, 2, 2},
                      target.data()),
              RecodeResult::done);
    EXPECT_EQ(target[0], 0x34);
    EXPECT_EQ(target[1], 0xF2);
}

TEST_F(Rewriting, ClipsAtTheTargetsRightAndBottom)
{
    const PixelPoint point{7, 8};
    ASSERT_EQ(Rewrite(Square(8), source.data(), Square(8), target.data(), nullptr, &point),
              RecodeResult::done);
    EXPECT_EQ(At(7, 8), 0);
    EXPECT_EQ(At(9, 9), 12);
    EXPECT_EQ(Untouched(), 1600 - 6);
}

TEST_F(Rewriting, StartsAtTheSourcesFirstPixelWhateverIsClippedAway)
{
    const PixelPoint point{-2, -3};
    ASSERT_EQ(Rewrite(Square(8), source.data(), Square(8), target.data(), nullptr, &point),
              RecodeResult::done);
    EXPECT_EQ(At(0, 0), 0);
    EXPECT_EQ(At(7, 6), 67);
    EXPECT_EQ(At(8, 0), 0xEE);
    EXPECT_EQ(At(0, 7), 0xEE);
}

TEST_F(Rewriting, ToAPointOutsideTheTargetCopiesNothing)
{
    const PixelPoint outside[] = {
        {10, 0},       {0, 10},       {-10, 0},       {0, -10},     {largest, 0},        {0, largest},
        {smallest, 0}, {0, smallest}, {10, smallest}, {largest, 5}, {smallest, smallest}};
    for (const PixelPoint& point : outside)
        EXPECT_EQ(Rewrite(Square(8), source.data(), Square(8), target.data(), nullptr, &point),
                  RecodeResult::done);
    EXPECT_EQ(Untouched(), 1600);
}

TEST_F(Rewriting, OfAnEmptyRectangleCopiesNothing)
{
    for (const PixelRect& rect :
         {PixelRect{3, 3, 3, 8}, PixelRect{3, 3, 8, 3}, PixelRect{smallest, 0, smallest, 1}})
        EXPECT_EQ(Rewrite(Square(8), source.data(), Square(8), target.data(), &rect), RecodeResult::done);
    EXPECT_EQ(Untouched(), 1600);
}

TEST_F(Rewriting, OfNothingStillComparesTheTypes)
{
    const PixelRect nothing{};
    EXPECT_THROW((void)Rewrite(Square(8), source.data(), Square(32), target.data(), &nothing),
                 std::runtime_error);
}

TEST_F(Rewriting, BearsAnyOffsetAndStrideWhereNothingIsCopied)
{
    const PixelRect nothing{smallest, smallest, smallest, smallest};
    const TavloDescriptorData far{10, 10, 8, Tavlo_Unsigned, smallest, smallest, smallest};
    EXPECT_EQ(Rewrite(far, source.data(), Square(8), target.data(), &nothing), RecodeResult::done);
}

TEST_F(Recoding, CopiesEqualTypesWithoutClamping)
{
    const float values[] = {-3.5f, 7.0f, std::numeric_limits<float>::infinity()};
    float copied[3] = {};
    const TavloDescriptorData d{3, 1, 32, Tavlo_Float, 0, 4, 12};
    ASSERT_EQ(
        Recode(d, reinterpret_cast<const std::uint8_t*>(values), d, reinterpret_cast<std::uint8_t*>(copied)),
        RecodeResult::done);
    EXPECT_EQ(std::memcmp(values, copied, sizeof values), 0);
}

TEST_F(Recoding, FromSixteenToEightBitsTakesTheHighByte)
{
    const std::uint8_t elements[] = {0x00, 0x01, 0xFF, 0x7F, 0x01, 0x80};
    for (std::int32_t encoding : {Tavlo_Unsigned, Tavlo_Signed}) {
        ASSERT_EQ(
            Recode({3, 1, 16, encoding, 0, 2, 6}, elements, {3, 1, 8, encoding, 0, 1, 3}, target.data()),
            RecodeResult::done);
        EXPECT_EQ(target[0], 1) << "256 through the table would be 0";
        EXPECT_EQ(target[1], 0x7F);
        EXPECT_EQ(target[2], 0x80);
    }
}

TEST_F(Recoding, BetweenSignsGoesThroughTheTable)
{
    const std::uint8_t element[] = {0x00, 0x01};
    ASSERT_EQ(
        Recode({1, 1, 16, Tavlo_Unsigned, 0, 2, 2}, element, {1, 1, 8, Tavlo_Signed, 0, 1, 1}, target.data()),
        RecodeResult::done);
    EXPECT_EQ(static_cast<std::int8_t>(target[0]), -127) << "256 x 255 / 65535 - 128, truncated";
}

TEST_F(Recoding, CopiesThreeChannelsInFourBytesThroughTheRecodersWay)
{
    const TavloDescriptorData d{2, 1, 32, Tavlo_RGB, 0, 4, 8};
    EXPECT_THROW((void)Rewrite(d, source.data(), d, target.data()), std::invalid_argument);
    ASSERT_EQ(Recode(d, source.data(), d, target.data()), RecodeResult::done);
    EXPECT_EQ(target[4], 4);
    EXPECT_EQ(target[3], 0xEE) << "the fourth byte is no part of the pixel";
}

TEST_F(Recoding, RefusesAnUnsupportedPairBeforeNullPointers)
{
    EXPECT_EQ(TextOf<std::runtime_error>([&] { (void)Recode(Square(8), nullptr, Square(64), nullptr); }),
              "No recoder implemented from Unsigned(8) to Unsigned(64)");
}

TEST_F(Recoding, RefusesNullPointers)
{
    EXPECT_EQ(Recode(Square(8), nullptr, Square(16), target.data()), RecodeResult::nullPointer);
    EXPECT_EQ(Recode(Square(8), source.data(), Square(16), nullptr), RecodeResult::nullPointer);
    EXPECT_EQ(Recode(Square(8), nullptr, Square(8), nullptr), RecodeResult::nullPointer);
}

TEST_F(Recoding, OfEqualTypesClipsLikeACopy)
{
    const PixelPoint point{-2, 0};
    ASSERT_EQ(Recode(Square(8), source.data(), Square(8), target.data(), nullptr, &point),
              RecodeResult::done);
    EXPECT_EQ(At(0, 0), 0);
    EXPECT_EQ(At(7, 9), 97);
    EXPECT_EQ(At(8, 9), 0xEE);
}

TEST_F(Recoding, OfHighBytesClipsLikeACopy)
{
    const PixelPoint point{9, 9};
    ASSERT_EQ(Recode(Square(16), source.data(), Square(8), target.data(), nullptr, &point),
              RecodeResult::done);
    EXPECT_EQ(At(9, 9), 1);
    EXPECT_EQ(Untouched(), 1599);
}

TEST_F(Recoding, OfEqualTypesReportsARectangleOutsideLikeACopy)
{
    const PixelRect outside{0, 0, 11, 10};
    EXPECT_EQ(TextOf<std::invalid_argument>(
                  [&] { (void)Recode(Square(8), source.data(), Square(8), target.data(), &outside); }),
              invalidRectangle);
    EXPECT_EQ(TextOf<std::invalid_argument>(
                  [&] { (void)Recode(Square(16), source.data(), Square(8), target.data(), &outside); }),
              invalidRectangle);
}

TEST_F(Recoding, ReportsTheMissingRecoderAndNotTheFailedCopy)
{
    const PixelRect outside{0, 0, 11, 10};
    EXPECT_EQ(TextOf<std::runtime_error>(
                  [&] { (void)Recode(Square(12), source.data(), Square(12), target.data(), &outside); }),
              "No recoder implemented from Unsigned(12) to Unsigned(12)");
}

namespace {

/// A region that ten by ten pixels do not hold.
struct Outside
{
    PixelRect rect;
    PixelPoint point;
};

const Outside outside[] = {
    {{0, 0, 11, 10}, {0, 0}},
    {{0, 0, 10, 11}, {0, 0}},
    {{5, 0, 11, 1}, {0, 0}},
    {{0, 5, 1, 11}, {0, 0}},
    {{0, 0, 10, 10}, {1, 0}},
    {{0, 0, 10, 10}, {0, 1}},
    {{0, 0, 1, 1}, {10, 0}},
    {{0, 0, 1, 1}, {0, 10}},
    {{3, 0, 2, 1}, {0, 0}},
    {{0, 3, 1, 2}, {0, 0}},
    {{largest, largest, smallest, smallest}, {0, 0}},
    {{smallest, smallest, largest, largest}, {0, 0}},
    {{smallest, 0, 10, 10}, {0, 0}},
    {{0, smallest, 10, 10}, {0, 0}},
    {{0, 0, 1, 1}, {largest, largest}},
    {{0, 0, largest, largest}, {largest, largest}},
};

/// The same target, walked from each corner and along either axis.
std::vector<TavloDescriptorData> TurnedSquares(std::int32_t bits)
{
    const std::int32_t size = bits / 8;
    const std::int32_t last = 9;
    std::vector<TavloDescriptorData> turned;
    for (auto [sx, sy] : {std::pair{size, 10 * size}, std::pair{10 * size, size}})
        for (std::int32_t signX : {1, -1})
            for (std::int32_t signY : {1, -1})
                turned.push_back({10, 10, bits, Tavlo_Unsigned,
                                  (signX < 0 ? last * sx : 0) + (signY < 0 ? last * sy : 0), signX * sx,
                                  signY * sy});
    return turned;
}

} // namespace

TEST_F(Recoding, OfDifferentTypesRefusesRegionsOutsideSilently)
{
    for (const TavloDescriptorData& turned : TurnedSquares(16))
        for (const auto& [rect, point] : outside)
            EXPECT_EQ(Recode(Square(8), source.data(), turned, target.data(), &rect, &point),
                      RecodeResult::invalidArgument)
                << rect.left << ", " << rect.top << ", " << rect.right << ", " << rect.bottom << " to "
                << point.x << ", " << point.y;
    EXPECT_EQ(Untouched(), 1600);
}

TEST_F(Recoding, OfEqualTypesReportsARectangleOutsideHoweverTheTargetLies)
{
    const PixelRect rects[] = {{5, 0, 11, 10}, {0, 5, 10, 11}};
    for (std::int32_t bits : {8, 16})
        for (const TavloDescriptorData& turned : TurnedSquares(8))
            for (const PixelRect& rect : rects)
                EXPECT_EQ(TextOf<std::invalid_argument>([&] {
                              (void)Recode(Square(bits), source.data(), turned, target.data(), &rect);
                          }),
                          invalidRectangle);
    EXPECT_EQ(Untouched(), 1600);
}

TEST_F(Casting, OfDifferentTypesRefusesRegionsOutsideSilently)
{
    for (const TavloDescriptorData& turned : TurnedSquares(16))
        for (const auto& [rect, point] : outside)
            EXPECT_EQ(Cast(Square(8), source.data(), turned, target.data(), &rect, &point),
                      RecodeResult::invalidArgument);
    EXPECT_EQ(Untouched(), 1600);
}

TEST_F(Recoding, TakesRegionsThatBeginOutsideImagesInsideLargerOnes)
{
    TavloDescriptorData innerSource = Square(8);
    innerSource.Offset = 33;
    TavloDescriptorData innerTarget = Square(16);
    innerTarget.Offset = 22;
    const PixelRect rect{-3, -3, 1, 1};
    const PixelPoint point{-1, -1};
    ASSERT_EQ(Recode(innerSource, source.data(), innerTarget, target.data(), &rect, &point),
              RecodeResult::done);
    EXPECT_EQ(target[0], 0);
    EXPECT_EQ(target[2], 1);
    EXPECT_EQ(target[20], 10);
}

TEST_F(Recoding, OfNothingChangesNothing)
{
    const PixelRect nothing{4, 4, 4, 4};
    EXPECT_EQ(Recode(Square(8), source.data(), Square(16), target.data(), &nothing), RecodeResult::done);
    EXPECT_EQ(Recode({0, 10, 8, Tavlo_Unsigned, 0, 1, 0}, source.data(), Square(16), target.data()),
              RecodeResult::done);
    EXPECT_EQ(Untouched(), 1600);
}

TEST_F(Casting, KeepsPlainValues)
{
    ASSERT_EQ(Cast(Square(8), source.data(), Square(16), target.data()), RecodeResult::done);
    EXPECT_EQ(target[198], 99);
    EXPECT_EQ(target[199], 0);
}

TEST_F(Casting, OfEqualTypesCopiesAndClips)
{
    const PixelPoint point{9, 9};
    ASSERT_EQ(Cast(Square(32), source.data(), Square(32), target.data(), nullptr, &point),
              RecodeResult::done);
    EXPECT_EQ(Untouched(), 1596);
}

TEST_F(Casting, FromSixteenToEightBitsKeepsTheLowByte)
{
    ASSERT_EQ(Cast(Square(16), source.data(), Square(8), target.data()), RecodeResult::done);
    EXPECT_EQ(target[1], 2);
}

TEST_F(Casting, NeedsARecoderEvenForEqualTypes)
{
    EXPECT_EQ(TextOf<std::runtime_error>([&] { (void)Cast(Square(12), nullptr, Square(12), nullptr); }),
              "No recoder implemented from Unsigned(12) to Unsigned(12)");
}

TEST_F(Casting, RefusesNullPointers)
{
    EXPECT_EQ(Cast(Square(8), nullptr, Square(16), target.data()), RecodeResult::nullPointer);
    EXPECT_EQ(Cast(Square(8), source.data(), Square(8), nullptr), RecodeResult::nullPointer);
}
