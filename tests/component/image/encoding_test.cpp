#include "image/encoding.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

using namespace Mardu::Sentel::Tavlo;

TEST(EncodingName, NamesEveryValueOfTheEnumeration)
{
    const std::pair<std::int32_t, const char*> published[] = {
        {0, "Unsigned"},
        {1, "Signed"},
        {2, "Float"},
        {3, "RGB"},
        {4, "RGBA"},
        {5, "BGR"},
        {6, "Reserved3"},
        {7, "Reserved4"},
        {8, "Data"},
        {9, "Reserved1"},
        {10, "Complex_Float"},
        {11, "Reserved2"},
        {12, "Complex_Float_Half_Even"},
        {13, "BGRA"},
        {14, "Float_Vector2D"},
        {15, "Float_Vector3D"},
        {16, "Float_Vector4D"},
        {17, "Complex_Float_Half_Odd"},
    };
    for (const auto& [value, name] : published)
        EXPECT_EQ(EncodingName(value), name) << value;
}

TEST(EncodingName, AnyOtherValueIsUnknown)
{
    for (std::int32_t value : {-1, 18, 255, 256, std::numeric_limits<std::int32_t>::min(),
                               std::numeric_limits<std::int32_t>::max()})
        EXPECT_EQ(EncodingName(value), "Unknown_Encoding") << value;
}
