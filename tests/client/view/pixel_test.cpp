#include "client/view/pixel.h"

#include <gtest/gtest.h>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

std::string TextOf(Encoding encoding, std::int32_t bits, const void* memory)
{
    const PixelReader reader({1, 1, bits, encoding, 0, 8, 8}, static_cast<const std::uint8_t*>(memory));
    return reader.Text(0, 0);
}

TEST(PixelTest, WhatHasNoRecoderIntoColoursHasNoRoute)
{
    EXPECT_EQ(RouteOf({Encoding::Unsigned, 12}), Route::Ramp);
    EXPECT_EQ(RouteOf({Encoding::Unsigned, 16}), Route::Ramp);
    EXPECT_EQ(RouteOf({Encoding::Unsigned, 32}), Route::GreyAndRamp);
    EXPECT_EQ(RouteOf({Encoding::Signed, 16}), Route::GreyAndRamp);
    EXPECT_EQ(RouteOf({Encoding::Float, 32}), Route::GreyAndRamp);
    EXPECT_EQ(RouteOf({Encoding::Float, 64}), Route::GreyAndRamp);
    EXPECT_EQ(RouteOf({Encoding::BGR, 24}), Route::Colour);
    EXPECT_EQ(RouteOf({Encoding::RGB, 32}), Route::Colour);
    EXPECT_EQ(RouteOf({Encoding::BGRA, 32}), Route::Alpha);
    EXPECT_EQ(RouteOf({Encoding::Unsigned, 64}), std::nullopt);
    EXPECT_EQ(RouteOf({Encoding::Unsigned, 4}), std::nullopt);
    EXPECT_EQ(RouteOf({Encoding::ComplexFloat, 64}), std::nullopt);
    EXPECT_EQ(RouteOf({Encoding::Data, 100}), std::nullopt);
}

TEST(PixelTest, RangesAreThoseOfTheDeclaredBits)
{
    EXPECT_EQ(RangeOf({Encoding::Unsigned, 8}), (ValueRange{0, 255}));
    EXPECT_EQ(RangeOf({Encoding::Unsigned, 10}), (ValueRange{0, 1023}));
    EXPECT_EQ(RangeOf({Encoding::Signed, 12}), (ValueRange{-2048, 2047}));
    EXPECT_EQ(RangeOf({Encoding::Unsigned, 32}), (ValueRange{0, 4294967295.0}));
    EXPECT_EQ(RangeOf({Encoding::Float, 64}), (ValueRange{0, 1}));
    EXPECT_EQ(RangeOf({Encoding::RGB, 24}), (ValueRange{0, 255}));
}

TEST(PixelTest, BitsAboveTheDeclaredOnesMeanNothing)
{
    const std::uint16_t value = 0xF123;
    EXPECT_EQ(TextOf(Encoding::Unsigned, 12, &value), "291");
    const std::uint16_t negative = 0x0FFF;
    EXPECT_EQ(TextOf(Encoding::Signed, 12, &negative), "-1");
    const std::uint16_t positive = 0xF7FF;
    EXPECT_EQ(TextOf(Encoding::Signed, 12, &positive), "2047");
}

TEST(PixelTest, TextsOfNumbers)
{
    const std::int16_t wide = -300;
    EXPECT_EQ(TextOf(Encoding::Signed, 16, &wide), "-300");
    const float single = 0.1f;
    EXPECT_EQ(TextOf(Encoding::Float, 32, &single), "0.1");
    const double many = 1.5e-9;
    EXPECT_EQ(TextOf(Encoding::Float, 64, &many), "1.5e-09");
}

TEST(PixelTest, ColoursAreNamedInTheOrderOfTheirNames)
{
    const std::uint8_t bytes[] = {10, 20, 30, 40};
    EXPECT_EQ(TextOf(Encoding::BGRA, 32, bytes), "R 30 G 20 B 10 A 40");
    EXPECT_EQ(TextOf(Encoding::RGB, 24, bytes), "R 10 G 20 B 30");
}

TEST(PixelTest, StridesMayRunBackwards)
{
    const std::uint8_t memory[] = {1, 2, 3, 4, 5, 6};
    const PixelReader reader({3, 2, 8, Encoding::Unsigned, 5, -1, -3}, memory);
    EXPECT_EQ(reader.Number(0, 0, 0), 6);
    EXPECT_EQ(reader.Number(2, 1, 0), 1);
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client::View
