#pragma once

#include <cstdint>
#include <limits>

/// A one-channel geometry and a size of memory. The component and the C++ layer have the rule
/// each for itself; both are held to this table.
struct ExtentCase
{
    const char* name;
    std::int32_t width;
    std::int32_t height;
    std::int32_t encoding; ///< of the type library
    std::int32_t bits;
    std::int32_t offset;
    std::int32_t strideX;
    std::int32_t strideY;
    std::uint64_t bytes;
    bool liesWithin;
};

namespace ExtentCases {

constexpr std::int32_t unsignedInteger = 0;
constexpr std::int32_t bgr = 5;
constexpr std::int32_t data = 8;
constexpr std::int32_t smallest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max();

} // namespace ExtentCases

constexpr ExtentCase extentCases[] = {
    {"Packed", 4, 3, ExtentCases::unsignedInteger, 8, 0, 1, 4, 12, true},
    {"OneByteShort", 4, 3, ExtentCases::unsignedInteger, 8, 0, 1, 4, 11, false},
    {"PaddedRowsWithoutTheLastPadding", 4, 3, ExtentCases::bgr, 24, 0, 3, 16, 44, true},
    {"PaddedRowsOneByteShort", 4, 3, ExtentCases::bgr, 24, 0, 3, 16, 43, false},
    {"TwelveBitsTakeTwoBytes", 1, 1, ExtentCases::unsignedInteger, 12, 0, 2, 2, 1, false},
    {"UpsideDown", 4, 3, ExtentCases::unsignedInteger, 8, 8, 1, -4, 12, true},
    {"UpsideDownFromTheTop", 4, 3, ExtentCases::unsignedInteger, 8, 0, 1, -4, 12, false},
    {"UpsideDownOneByteBefore", 4, 3, ExtentCases::unsignedInteger, 8, 7, 1, -4, 12, false},
    {"Mirrored", 4, 3, ExtentCases::unsignedInteger, 8, 3, -1, 4, 12, true},
    {"MirroredFromTheLeft", 4, 3, ExtentCases::unsignedInteger, 8, 0, -1, 4, 12, false},
    {"BothWays", 4, 3, ExtentCases::unsignedInteger, 8, 11, -1, -4, 12, true},
    {"NegativeOffset", 4, 3, ExtentCases::unsignedInteger, 8, -1, 1, 4, 12, false},
    {"OffsetBehind", 4, 3, ExtentCases::unsignedInteger, 8, 1, 1, 4, 12, false},
    {"OnePixelRepeated", 1000, 1000, ExtentCases::unsignedInteger, 8, 0, 0, 0, 1, true},
    {"NoColumns", 0, 3, ExtentCases::unsignedInteger, 8, -100, 1, 4, 0, true},
    {"NegativeRows", 4, -3, ExtentCases::unsignedInteger, 8, 100, 1, 4, 0, true},
    {"RowsWrapTo32Bits", 1, 65537, ExtentCases::unsignedInteger, 8, 0, 1, 65536, 65536, false},
    {"ColumnsWrapTo32Bits", 65537, 1, ExtentCases::unsignedInteger, 8, 0, 65536, 1, 65536, false},
    {"RowsWrapBelow", 1, 65537, ExtentCases::unsignedInteger, 8, 0, 1, -65536, 65536, false},
    {"SumWrapsTo32Bits", 1, 2, ExtentCases::unsignedInteger, 8, ExtentCases::largest, 1, ExtentCases::largest,
     0x80000000u, false},
    {"BitsWrapTo32Bits", 1, 1, ExtentCases::unsignedInteger, ExtentCases::largest, 0, 1, 1, 1000, false},
    {"AllTheLargest", ExtentCases::largest, ExtentCases::largest, ExtentCases::unsignedInteger,
     ExtentCases::largest, ExtentCases::largest, ExtentCases::largest, ExtentCases::largest, 0xFFFFFFFFu,
     false},
    {"AllTheSmallest", ExtentCases::largest, ExtentCases::largest, ExtentCases::unsignedInteger, 8,
     ExtentCases::smallest, ExtentCases::smallest, ExtentCases::smallest, 0xFFFFFFFFu, false},
    {"Data", 0, 0, ExtentCases::data, 100, 28, 0, 0, 128, true},
    {"DataOneByteShort", 0, 0, ExtentCases::data, 100, 28, 0, 0, 127, false},
    {"DataBefore", 0, 0, ExtentCases::data, 100, -1, 0, 0, 127, false},
};
