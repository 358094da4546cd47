#include "client/pictures/sample_type.h"

#include <gtest/gtest.h>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

Descriptor OnePixel(std::int32_t bits, Encoding encoding)
{
    return {1, 1, bits, encoding, 0, 16, 16};
}

TEST(SampleTypeTest, IntegersLieInTheSmallestElementThatHoldsThem)
{
    EXPECT_EQ(SampleTypeOf(OnePixel(1, Encoding::Unsigned))->number, Number::UInt8);
    EXPECT_EQ(SampleTypeOf(OnePixel(8, Encoding::Signed))->number, Number::Int8);
    EXPECT_EQ(SampleTypeOf(OnePixel(9, Encoding::Unsigned))->number, Number::UInt16);
    EXPECT_EQ(SampleTypeOf(OnePixel(17, Encoding::Signed))->number, Number::Int32);
    EXPECT_EQ(SampleTypeOf(OnePixel(33, Encoding::Unsigned))->number, Number::UInt64);
    EXPECT_EQ(SampleTypeOf(OnePixel(64, Encoding::Signed))->Size(), 8);
}

TEST(SampleTypeTest, ColoursHaveTheirComponentsInMemoryOrder)
{
    const auto type = SampleTypeOf(OnePixel(32, Encoding::BGRA));
    ASSERT_TRUE(type);
    ASSERT_EQ(type->components.size(), 4u);
    EXPECT_EQ(type->components[0], "blue");
    EXPECT_EQ(type->components[2], "red");
    EXPECT_EQ(type->components[3], "alpha");
}

TEST(SampleTypeTest, ThreeColoursInFourBytesHaveThreeComponents)
{
    EXPECT_EQ(SampleTypeOf(OnePixel(32, Encoding::RGB))->Size(), 3);
}

TEST(SampleTypeTest, ComplexNumbersAndVectorsAreFloats)
{
    EXPECT_EQ(SampleTypeOf(OnePixel(128, Encoding::ComplexFloat))->number, Number::Float64);
    EXPECT_EQ(SampleTypeOf(OnePixel(96, Encoding::FloatVector3D))->Size(), 12);
}

TEST(SampleTypeTest, UnknownPairsHaveNone)
{
    EXPECT_FALSE(SampleTypeOf(OnePixel(65, Encoding::Unsigned)));
    EXPECT_FALSE(SampleTypeOf(OnePixel(16, Encoding::Float)));
    EXPECT_FALSE(SampleTypeOf(OnePixel(24, Encoding::RGBA)));
    EXPECT_FALSE(SampleTypeOf(OnePixel(8, Encoding::Data)));
    EXPECT_FALSE(SampleTypeOf(OnePixel(8, static_cast<Encoding>(6))));
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
