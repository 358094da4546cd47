#include "tests/include/wrapper_test.h"

#include <vector>

namespace {

struct Pair
{
    TavloEncoding encoding;
    long bits;
};

/// All pairs that a view of T takes.
template <class T>
std::vector<std::pair<int, long>> Held()
{
    std::vector<std::pair<int, long>> held;
    for (int encoding = 0; encoding < 32; ++encoding)
        for (long bits = -1; bits <= 256; ++bits)
            if (tavlo::pixel_traits<T>::holds(static_cast<TavloEncoding>(encoding), bits))
                held.emplace_back(encoding, bits);
    return held;
}

std::vector<std::pair<int, long>> Range(int encoding, long first, long last)
{
    std::vector<std::pair<int, long>> pairs;
    for (long bits = first; bits <= last; ++bits)
        pairs.emplace_back(encoding, bits);
    return pairs;
}

using Pairs = std::vector<std::pair<int, long>>;

} // namespace

TEST(WrapperPixel, IntegersAreTheSmallestThatHaveTheBits)
{
    EXPECT_EQ(Range(Tavlo_Unsigned, 1, 8), Held<std::uint8_t>());
    EXPECT_EQ(Range(Tavlo_Unsigned, 9, 16), Held<std::uint16_t>());
    EXPECT_EQ(Range(Tavlo_Unsigned, 17, 32), Held<std::uint32_t>());
    EXPECT_EQ(Range(Tavlo_Unsigned, 17, 32), Held<unsigned long>());
    EXPECT_EQ(Range(Tavlo_Unsigned, 33, 64), Held<std::uint64_t>());
    EXPECT_EQ(Range(Tavlo_Signed, 1, 8), Held<std::int8_t>());
    EXPECT_EQ(Range(Tavlo_Signed, 9, 16), Held<std::int16_t>());
    EXPECT_EQ(Range(Tavlo_Signed, 17, 32), Held<std::int32_t>());
    EXPECT_EQ(Range(Tavlo_Signed, 33, 64), Held<std::int64_t>());
    EXPECT_EQ(Range(Tavlo_Signed, 9, 16), Held<tavlo::unaligned<std::int16_t>>());
}

TEST(WrapperPixel, OtherTypesHoldTheirOwnEncodingOnly)
{
    EXPECT_EQ((Pairs{{Tavlo_Float, 32}}), Held<float>());
    EXPECT_EQ((Pairs{{Tavlo_Float, 64}}), Held<double>());
    EXPECT_EQ((Pairs{{Tavlo_RGB, 24}, {Tavlo_RGB, 32}}), Held<tavlo::rgb>());
    EXPECT_EQ((Pairs{{Tavlo_BGR, 24}, {Tavlo_BGR, 32}}), Held<tavlo::bgr>());
    EXPECT_EQ((Pairs{{Tavlo_RGBA, 32}}), Held<tavlo::rgba>());
    EXPECT_EQ((Pairs{{Tavlo_BGRA, 32}}), Held<tavlo::bgra>());
    EXPECT_EQ((Pairs{{Tavlo_Complex_Float, 64},
                     {Tavlo_Complex_Float_Half_Even, 64},
                     {Tavlo_Complex_Float_Half_Odd, 64}}),
              Held<std::complex<float>>());
    EXPECT_EQ((Pairs{{Tavlo_Complex_Float, 128},
                     {Tavlo_Complex_Float_Half_Even, 128},
                     {Tavlo_Complex_Float_Half_Odd, 128}}),
              Held<std::complex<double>>());
    EXPECT_EQ((Pairs{{Tavlo_Float_Vector2D, 64}}), (Held<std::array<float, 2>>()));
    EXPECT_EQ((Pairs{{Tavlo_Float_Vector3D, 96}}), (Held<std::array<float, 3>>()));
    EXPECT_EQ((Pairs{{Tavlo_Float_Vector4D, 128}}), (Held<std::array<float, 4>>()));
    EXPECT_EQ(Range(Tavlo_Data, -1, 256), Held<std::byte>());
}

TEST(WrapperPixel, OnlyTypesOfSamplesMakeViews)
{
    static_assert(tavlo::pixel<std::uint8_t> && tavlo::pixel<float> && tavlo::pixel<tavlo::bgra>);
    static_assert(!tavlo::pixel<bool> && !tavlo::pixel<std::string> && !tavlo::pixel<long double>);
    static_assert(!tavlo::pixel<Pair>);
}

TEST(WrapperPixel, ColoursAreBytesInTheOrderOfTheirNames)
{
    static_assert(sizeof(tavlo::rgb) == 3 && sizeof(tavlo::bgr) == 3);
    static_assert(sizeof(tavlo::rgba) == 4 && sizeof(tavlo::bgra) == 4);
    const auto bytes = [](const auto& color) {
        const auto* first = reinterpret_cast<const std::uint8_t*>(&color);
        return std::vector<int>(first, first + sizeof color);
    };
    EXPECT_EQ((std::vector{1, 2, 3}), bytes(tavlo::rgb{.r = 1, .g = 2, .b = 3}));
    EXPECT_EQ((std::vector{3, 2, 1}), bytes(tavlo::bgr{.b = 3, .g = 2, .r = 1}));
    EXPECT_EQ((std::vector{1, 2, 3, 255}), bytes(tavlo::rgba{.r = 1, .g = 2, .b = 3}));
    EXPECT_EQ((std::vector{3, 2, 1, 255}), bytes(tavlo::bgra{.b = 3, .g = 2, .r = 1}));
}

TEST(WrapperPixel, ColoursAreNumbersWithRedLowest)
{
    constexpr tavlo::rgba color{.r = 1, .g = 2, .b = 3, .a = 4};
    static_assert(color.packed() == 0x04030201);
    static_assert(tavlo::rgba::from(0xF4F3F2F1) == tavlo::rgba{.r = 0xF1, .g = 0xF2, .b = 0xF3, .a = 0xF4});
}

TEST(WrapperPixel, EncodingsHaveNames)
{
    EXPECT_STREQ("Unsigned", tavlo::encoding_name(Tavlo_Unsigned));
    EXPECT_STREQ("BGRA", tavlo::encoding_name(Tavlo_BGRA));
    EXPECT_STREQ("Complex_Float_Half_Odd", tavlo::encoding_name(Tavlo_Complex_Float_Half_Odd));
    EXPECT_STREQ("Unknown", tavlo::encoding_name(static_cast<TavloEncoding>(18)));
}

TEST(WrapperPixel, UnalignedOnesKeepTheirValueAnywhere)
{
    alignas(8) unsigned char memory[8] = {};
    static_assert(alignof(tavlo::unaligned<std::uint32_t>) == 1 &&
                  sizeof(tavlo::unaligned<std::uint32_t>) == 4);
    auto* odd = reinterpret_cast<tavlo::unaligned<std::uint32_t>*>(memory + 1);
    *odd = 0x04030201u;
    EXPECT_EQ(1, memory[1]);
    EXPECT_EQ(4, memory[4]);
    const std::uint32_t value = *odd;
    EXPECT_EQ(0x04030201u, value);
}
