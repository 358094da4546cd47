#include "tests/include/wrapper_test.h"

#include <limits>
#include <vector>

using tavlo::descriptor;

namespace {

constexpr TavloEncoding encodings[] = {
    Tavlo_Unsigned,      Tavlo_Signed,
    Tavlo_Float,         Tavlo_RGB,
    Tavlo_RGBA,          Tavlo_BGR,
    Reserved3,           Tavlo_Data,
    Tavlo_Complex_Float, Tavlo_Complex_Float_Half_Even,
    Tavlo_BGRA,          Tavlo_Float_Vector2D,
};

/// What the component derives from the same values.
descriptor Derived(std::int32_t width, std::int32_t height, TavloEncoding encoding, const std::int32_t* bits,
                   const std::int32_t* strideX, const std::int32_t* strideY)
{
    const auto object = Create<ITavloDescriptor2>(CLSID_TavloDescriptor2);
    object->put_Width(width);
    object->put_Height(height);
    object->put_Encoding(encoding);
    if (bits != nullptr)
        object->put_Bits(*bits);
    if (strideX != nullptr)
        object->put_Stride_x(*strideX);
    if (strideY != nullptr)
        object->put_Stride_y(*strideY);
    return descriptor::from(*object.Get());
}

} // namespace

TEST(WrapperDescriptor, DerivesWhatTheComponentDerives)
{
    constexpr std::int32_t extreme[] = {
        0, 1, 7, 640, -3, std::numeric_limits<std::int32_t>::max(), std::numeric_limits<std::int32_t>::min()};
    for (const TavloEncoding encoding : encodings) {
        for (const std::int32_t width : extreme) {
            for (const std::int32_t height : extreme) {
                const descriptor plain{.width = width, .height = height, .encoding = encoding};
                EXPECT_EQ(Derived(width, height, encoding, nullptr, nullptr, nullptr), plain);
                for (const std::int32_t value : extreme) {
                    const descriptor bits{
                        .width = width, .height = height, .encoding = encoding, .bits = value};
                    EXPECT_EQ(Derived(width, height, encoding, &value, nullptr, nullptr), bits);
                    const descriptor strideX{
                        .width = width, .height = height, .encoding = encoding, .stride_x = value};
                    EXPECT_EQ(Derived(width, height, encoding, nullptr, &value, nullptr), strideX);
                    const descriptor strideY{
                        .width = width, .height = height, .encoding = encoding, .stride_y = value};
                    EXPECT_EQ(Derived(width, height, encoding, nullptr, nullptr, &value), strideY);
                    const std::int32_t minus = -2;
                    const descriptor both{.width = width,
                                          .height = height,
                                          .encoding = encoding,
                                          .stride_x = minus,
                                          .stride_y = value};
                    EXPECT_EQ(Derived(width, height, encoding, nullptr, &minus, &value), both);
                }
            }
        }
    }
}

TEST(WrapperDescriptor, IsNothingByDefaultAsAFreshOneOfTheComponentIs)
{
    EXPECT_EQ(descriptor::from(*Create<ITavloDescriptor2>(CLSID_TavloDescriptor2).Get()), descriptor());
}

TEST(WrapperDescriptor, IsKnownAtCompileTime)
{
    constexpr descriptor twelve{.width = 640, .height = 480, .encoding = Tavlo_Unsigned, .bits = 12};
    static_assert(twelve.stride_x == 2 && twelve.stride_y == 1280 && twelve.offset == 0);
    constexpr descriptor mirrored{
        .width = 10, .height = 5, .encoding = Tavlo_RGB, .stride_x = -3, .stride_y = -30};
    static_assert(mirrored.offset == 120 + 27);
}

TEST(WrapperDescriptor, KeepsWhatIsGiven)
{
    const descriptor odd{.width = 1,
                         .height = 2,
                         .encoding = Tavlo_Float,
                         .bits = 3,
                         .stride_x = 4,
                         .stride_y = 5,
                         .offset = 6};
    const TavloDescriptorData data = odd;
    EXPECT_EQ(1, data.Width);
    EXPECT_EQ(2, data.Height);
    EXPECT_EQ(3, data.Bits);
    EXPECT_EQ(Tavlo_Float, data.Encoding);
    EXPECT_EQ(4, data.Stride_x);
    EXPECT_EQ(5, data.Stride_y);
    EXPECT_EQ(6, data.Offset);
    EXPECT_EQ(odd, descriptor::from(data));
    EXPECT_EQ(odd, descriptor::from(*odd.object().get()));
}

TEST(WrapperDescriptor, ReadsAChannelOfMany)
{
    const auto object = Create<ITavloDescriptor>(CLSID_TavloDescriptor);
    object->put_Width(7);
    object->put_Height(8);
    object->put_Channels(2);
    object->put_Bits(1, 16);
    object->put_Encoding(1, Tavlo_Signed);
    object->put_Offset(1, 56);
    object->put_Stride_x(1, 2);
    object->put_Stride_y(1, 14);
    EXPECT_EQ((descriptor{.width = 7, .height = 8, .encoding = Tavlo_Signed, .bits = 16, .offset = 56}),
              descriptor::from(*object.Get(), 1));
    EXPECT_THROWS_HR(E_INVALIDARG, descriptor::from(*object.Get(), 2));
}

TEST(WrapperGeometry, RectanglesAndPointsAreThePlatforms)
{
    constexpr tavlo::rect block{1, 2, 4, 8};
    static_assert(block.width() == 3 && block.height() == 6 && !block.empty());
    static_assert(tavlo::rect{}.empty() && tavlo::rect{1, 0, 1, 5}.empty() &&
                  tavlo::rect{0, 5, 5, 5}.empty());
    const RECT plain = block;
    EXPECT_EQ(1, plain.left);
    EXPECT_EQ(2, plain.top);
    EXPECT_EQ(4, plain.right);
    EXPECT_EQ(8, plain.bottom);
    EXPECT_EQ(block, tavlo::rect::from(plain));
    const POINT place = tavlo::point{.x = 3, .y = 9};
    EXPECT_EQ(3, place.x);
    EXPECT_EQ(9, place.y);
}
