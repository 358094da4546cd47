#include "tests/include/wrapper_test.h"

#include <array>
#include <numeric>
#include <vector>

namespace {

/// The pixels of a view, row by row, as at() finds them.
template <class T>
std::vector<int> Pixels(const tavlo::view<T>& pixels)
{
    std::vector<int> found;
    for (std::int32_t y = 0; y < pixels.height(); ++y)
        for (std::int32_t x = 0; x < pixels.width(); ++x)
            found.push_back(pixels.at(x, y));
    return found;
}

/// 0, 1, 2, ... in memory.
template <std::size_t Size>
std::array<std::uint8_t, Size> Counting()
{
    std::array<std::uint8_t, Size> memory;
    std::iota(memory.begin(), memory.end(), std::uint8_t{0});
    return memory;
}

} // namespace

TEST(WrapperView, WalksRowsWithGaps)
{
    auto memory = Counting<12>();
    const tavlo::view<std::uint8_t> pixels(memory.data() + 1, 2, 3, 1, 4);
    EXPECT_EQ((std::vector{1, 2, 5, 6, 9, 10}), Pixels(pixels));
    EXPECT_EQ(6, pixels(1, 1));
    EXPECT_TRUE(pixels.packed());
    std::vector<int> found;
    for (const std::span<std::uint8_t> row : pixels.rows())
        found.insert(found.end(), row.begin(), row.end());
    EXPECT_EQ((std::vector{1, 2, 5, 6, 9, 10}), found);
}

TEST(WrapperView, WalksMirroredRowsAndColumns)
{
    auto memory = Counting<6>();
    EXPECT_EQ((std::vector{4, 5, 2, 3, 0, 1}),
              Pixels(tavlo::view<std::uint8_t>(memory.data() + 4, 2, 3, 1, -2)));
    EXPECT_EQ((std::vector{1, 0, 3, 2, 5, 4}),
              Pixels(tavlo::view<std::uint8_t>(memory.data() + 1, 2, 3, -1, 2)));
    EXPECT_EQ((std::vector{0, 3, 1, 4, 2, 5}), Pixels(tavlo::view<std::uint8_t>(memory.data(), 2, 3, 3, 1)));
    const tavlo::view<std::uint8_t> mirrored(memory.data() + 4, 2, 3, 1, -2);
    EXPECT_EQ(4, mirrored.row(0)[0]);
    EXPECT_EQ(1, mirrored.row(2)[1]);
}

TEST(WrapperView, WritesWhereItReads)
{
    std::array<std::uint16_t, 6> memory = {};
    const tavlo::view<std::uint16_t> pixels(memory.data() + 2, 2, 2, 4, -4);
    pixels.at(1, 0) = 7;
    pixels(0, 1) = 8;
    EXPECT_EQ((std::array<std::uint16_t, 6>{8, 0, 0, 0, 7, 0}), memory);
}

TEST(WrapperView, ThrowsOutsideOfItself)
{
    auto memory = Counting<6>();
    const tavlo::view<std::uint8_t> pixels(memory.data(), 3, 2, 1, 3);
    for (const auto& [x, y] :
         {std::pair{-1, 0}, {3, 0}, {0, -1}, {0, 2}, {std::numeric_limits<int>::max(), 0}}) {
        const std::string text = TextOf<std::out_of_range>([&, x = x, y = y] { pixels.at(x, y); });
        EXPECT_EQ("pixel (" + std::to_string(x) + ", " + std::to_string(y) +
                      ") is outside an image of 3 x 2 pixels",
                  text);
    }
    EXPECT_EQ("row 2 is outside an image of 3 x 2 pixels", TextOf<std::out_of_range>([&] { pixels.row(2); }));
    EXPECT_EQ("row -1 is outside an image of 3 x 2 pixels",
              TextOf<std::out_of_range>([&] { pixels.row(-1); }));
    EXPECT_EQ(5, pixels.at(2, 1));
}

TEST(WrapperView, GivesRowsOnlyWhereTheyAreSpans)
{
    auto memory = Counting<12>();
    const tavlo::view<std::uint8_t> loose(memory.data(), 3, 2, 2, 6);
    EXPECT_FALSE(loose.packed());
    EXPECT_EQ("rows are not packed: 2 bytes from pixel to pixel, but 1 a pixel",
              TextOf<std::logic_error>([&] { loose.row(0); }));
    EXPECT_NE("", TextOf<std::logic_error>([&] { loose.rows(); }));
    const tavlo::view<std::uint8_t> mirrored(memory.data() + 2, 3, 2, -1, 3);
    EXPECT_NE("", TextOf<std::logic_error>([&] { mirrored.rows(); }));
    EXPECT_EQ(1u, (tavlo::view<std::uint8_t>(memory.data(), 1, 2, 5, 6).row(1).size()))
        << "one pixel has no gaps";
}

TEST(WrapperView, PartsAreViewsOfTheSamePixels)
{
    auto memory = Counting<12>();
    const tavlo::view<std::uint8_t> pixels(memory.data(), 4, 3, 1, 4);
    const auto part = pixels.part({2, 1, 4, 3});
    EXPECT_EQ((std::vector{6, 7, 10, 11}), Pixels(part));
    part.at(0, 0) = 100;
    EXPECT_EQ(100, memory[6]);
    EXPECT_TRUE(pixels.part({2, 1, 2, 3}).empty());
    EXPECT_TRUE(pixels.part({4, 3, 4, 3}).empty());
    for (const tavlo::rect outside :
         {tavlo::rect{-1, 0, 2, 2}, {0, -1, 2, 2}, {0, 0, 5, 2}, {0, 0, 2, 4}, {2, 0, 1, 2}, {0, 2, 2, 1}})
        EXPECT_THROW(pixels.part(outside), std::out_of_range) << testing::PrintToString(outside);
}

TEST(WrapperView, IsEmptyWithoutPixels)
{
    const tavlo::view<float> none;
    EXPECT_TRUE(none.empty());
    EXPECT_EQ(none.rows().begin(), none.rows().end());
    EXPECT_THROW(none.at(0, 0), std::out_of_range);
    std::uint8_t pixel = 0;
    const tavlo::view<std::uint8_t> negative(&pixel, -3, -2, 1, 1);
    EXPECT_EQ(0, negative.width());
    EXPECT_EQ(0, negative.height());
    EXPECT_TRUE(negative.empty());
}

TEST(WrapperView, BecomesOneThatOnlyReads)
{
    auto memory = Counting<4>();
    const tavlo::view<std::uint8_t> pixels(memory.data(), 2, 2, 1, 2);
    const tavlo::view<const std::uint8_t> reading = pixels;
    static_assert(std::is_same_v<decltype(reading(0, 0)), const std::uint8_t&>);
    static_assert(!std::is_convertible_v<tavlo::view<const std::uint8_t>, tavlo::view<std::uint8_t>>);
    EXPECT_EQ((std::vector{0, 1, 2, 3}), Pixels(reading));
}
