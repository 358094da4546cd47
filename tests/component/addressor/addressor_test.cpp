#include "addressor/addressor.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

using namespace Mardu::Sentel;
using namespace Mardu::Sentel::Tavlo;

namespace {

/// A read accessor over one element.
template <class T>
class OneElement
{
public:
    explicit OneElement(T value) : element_(value) {}

    const ConstAddressorBase& operator*() const { return addressor_; }
    const ConstAddressorBase* operator->() const { return &addressor_; }

private:
    T element_;
    ConstAddressor<T> addressor_{{1, 1, reinterpret_cast<std::uint8_t*>(&element_), sizeof(T), sizeof(T)}};
};

template <class T>
OneElement(T) -> OneElement<T>;

/// All values of a small integer type against the published scales, computed in long double.
template <class T>
void ExpectScales(long double normalizedBy, long double intensityOffset, long double intensityBy)
{
    for (long v = std::numeric_limits<T>::min(); v <= static_cast<long>(std::numeric_limits<T>::max()); ++v) {
        const OneElement element(static_cast<T>(v));
        ASSERT_EQ(element->Value(0, 0), static_cast<double>(v));
        ASSERT_EQ(element->Normalized(0, 0), static_cast<double>(v) / static_cast<double>(normalizedBy));
        ASSERT_EQ(element->Intensity(0, 0), (static_cast<double>(v) + static_cast<double>(intensityOffset)) /
                                                static_cast<double>(intensityBy));
        ASSERT_EQ(element->Text(0, 0), std::to_wstring(v));
    }
}

} // namespace

TEST(TypedAddressor, ScalesSmallIntegersOverTheirWholeRange)
{
    ExpectScales<signed char>(127.0L, 128.0L, 255.0L);
    ExpectScales<unsigned char>(255.0L, 0.0L, 255.0L);
    ExpectScales<short>(32767.0L, 32768.0L, 65535.0L);
    ExpectScales<unsigned short>(65535.0L, 0.0L, 65535.0L);
}

TEST(TypedAddressor, ScalesSigned32WithWrapAround)
{
    const auto intensity = [](int v) { return OneElement(v)->Intensity(0, 0); };
    EXPECT_EQ(intensity(std::numeric_limits<int>::min()), 0.0);
    EXPECT_EQ(intensity(-1), 2147483647.0 / 4294967295.0);
    EXPECT_EQ(intensity(0), -2147483648.0 / 4294967295.0);
    EXPECT_EQ(intensity(std::numeric_limits<int>::max()), -1.0 / 4294967295.0);
    EXPECT_EQ(OneElement(2147483647)->Normalized(0, 0), 1.0);
    EXPECT_EQ(OneElement(-7)->Value(0, 0), -7.0);
    EXPECT_EQ(OneElement(-7)->Text(0, 0), L"-7");
}

TEST(TypedAddressor, ScalesUnsigned32)
{
    EXPECT_EQ(OneElement(4294967295u)->Value(0, 0), 4294967295.0);
    EXPECT_EQ(OneElement(4294967295u)->Normalized(0, 0), 1.0);
    EXPECT_EQ(OneElement(2147483648u)->Intensity(0, 0), 2147483648.0 / 4294967295.0);
    EXPECT_EQ(OneElement(4294967295u)->Text(0, 0), L"4294967295");
}

TEST(TypedAddressor, LeavesFloatsUnscaled)
{
    const float third = 1.0f / 3.0f;
    EXPECT_EQ(OneElement(third)->Value(0, 0), double{third});
    EXPECT_EQ(OneElement(third)->Normalized(0, 0), double{third});
    EXPECT_EQ(OneElement(third)->Intensity(0, 0), double{third});
    EXPECT_EQ(OneElement(-2.5)->Intensity(0, 0), -2.5);
    EXPECT_TRUE(std::isnan(OneElement(std::nan(""))->Value(0, 0)));
}

TEST(TypedAddressor, WritesFloatsWithThreeDigits)
{
    EXPECT_EQ(OneElement(3.14159)->Text(0, 0), L"3.14");
    EXPECT_EQ(OneElement(1234.5f)->Text(0, 0), L"1.23e+03");
    EXPECT_EQ(OneElement(0.0)->Text(0, 0), L"0");
}

TEST(TypedAddressor, WritesColoursByComponent)
{
    EXPECT_EQ(OneElement(rgb_type<unsigned char>{1, 2, 255})->Text(0, 0), L"R:1\r\nG:2\r\nB:255");
    EXPECT_EQ(OneElement(bgr_type<unsigned char>{3, 2, 1})->Text(0, 0), L"R:1\r\nG:2\r\nB:3");
    EXPECT_EQ(OneElement(rgba_type<unsigned char>{1, 2, 3, 4})->Text(0, 0), L"R:1\r\nG:2\r\nB:3\r\nA:4");
    EXPECT_EQ(OneElement(bgra_type<unsigned char>{3, 2, 1, 4})->Text(0, 0), L"R:1\r\nG:2\r\nB:3\r\nA:4");
}

TEST(TypedAddressor, TakesLuminanceForTheIntensityOfColours)
{
    const double expected = ((0.587 * 100 + 0.299 * 200) + 0.114 * 50) / 255.0;
    EXPECT_EQ(OneElement(rgb_type<unsigned char>{200, 100, 50})->Intensity(0, 0), expected);
    EXPECT_EQ(OneElement(bgr_type<unsigned char>{50, 100, 200})->Intensity(0, 0), expected);
    EXPECT_EQ(OneElement(rgba_type<unsigned char>{200, 100, 50, 0})->Intensity(0, 0), expected)
        << "alpha is ignored";
    EXPECT_EQ(OneElement(bgra_type<unsigned char>{50, 100, 200, 9})->Intensity(0, 0), expected);
}

TEST(TypedAddressor, HasNoSingleNumberForColours)
{
    const auto expectRefusal = [](auto pixel) {
        const OneElement element(pixel);
        for (const bool normalized : {false, true}) {
            try {
                static_cast<void>(normalized ? element->Normalized(0, 0) : element->Value(0, 0));
                ADD_FAILURE() << "nothing was thrown";
            } catch (const std::runtime_error& error) {
                EXPECT_STREQ(error.what(), "Unsupported Tavlo encoding");
            }
        }
    };
    expectRefusal(rgb_type<unsigned char>{});
    expectRefusal(bgr_type<unsigned char>{});
    expectRefusal(rgba_type<unsigned char>{});
    expectRefusal(bgra_type<unsigned char>{});
}

TEST(TypedAddressor, WritesWithTheSameTypeAsItReads)
{
    short elements[2] = {1, 2};
    Addressor<short> addressor({2, 1, reinterpret_cast<std::uint8_t*>(elements), sizeof(short), 0});
    VARIANT value = {};
    value.vt = VT_I2;
    value.iVal = -300;
    addressor.Set(1, 0, value);
    EXPECT_EQ(elements[0], 1);
    EXPECT_EQ(elements[1], -300);
    EXPECT_EQ(addressor.Get(1, 0).iVal, -300);
    EXPECT_EQ(addressor.Value(1, 0), -300.0);
    EXPECT_EQ(addressor.Normalized(1, 0), -300 / 32767.0);
}
