#include "recode/pixels/pixel_type.h"

#include "image/encoding.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace Mardu::Sentel::Tavlo;

namespace {

/// The code of a pair as clients know it; -1 for one that has none.
int KnownCode(int encoding, int bits)
{
    switch (encoding * 1000 + bits) {
    case 8:
        return 0;
    case 32:
        return 2;
    case 64:
        return 3;
    case 1008:
        return 4;
    case 1032:
        return 6;
    case 1064:
        return 7;
    case 2032:
        return 8;
    case 2064:
        return 9;
    case 10064:
        return 10;
    case 12064:
        return 11;
    case 17064:
        return 12;
    case 10128:
        return 13;
    case 12128:
        return 14;
    case 17128:
        return 15;
    case 3024:
        return 16;
    case 4032:
        return 17;
    case 5024:
        return 18;
    case 13032:
        return 19;
    default:
        return bits >= 9 && bits <= 16 && encoding <= 1 && encoding >= 0 ? 1 + 4 * encoding : -1;
    }
}

int CodeOf(int encoding, int bits)
{
    try {
        return static_cast<int>(PixelTypeOf(encoding, bits));
    } catch (const std::invalid_argument&) {
        return -1;
    }
}

} // namespace

TEST(PixelTypeOf, GivesTheKnownCodeOfEveryPair)
{
    for (int encoding = 0; encoding < 20; ++encoding)
        for (int bits = 0; bits < 300; ++bits)
            ASSERT_EQ(CodeOf(encoding, bits), KnownCode(encoding, bits)) << encoding << ", " << bits;
}

TEST(PixelTypeOf, RefusesAnUnknownPairByName)
{
    try {
        PixelTypeOf(Tavlo_RGB, 32);
        FAIL() << "nothing was thrown";
    } catch (const std::invalid_argument& e) {
        EXPECT_STREQ(e.what(), "Unsupported Tavlo encoding/bits");
    }
}

TEST(PixelTypeOf, RefusesFieldsThatOnlyShareLowBits)
{
    EXPECT_THROW(PixelTypeOf(0, 256 + 8), std::invalid_argument);
    EXPECT_THROW(PixelTypeOf(-1, 256 + 8), std::invalid_argument);
    EXPECT_THROW(PixelTypeOf(2, -480), std::invalid_argument);
}
