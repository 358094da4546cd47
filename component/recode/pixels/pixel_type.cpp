#include "recode/pixels/pixel_type.h"

#include "image/encoding.h"

#include <stdexcept>

namespace Mardu::Sentel::Tavlo {
namespace {

struct Row
{
    std::int32_t encoding;
    std::int32_t firstBits;
    std::int32_t lastBits;
    PixelType type;
};

constexpr Row table[] = {
    {Tavlo_Unsigned, 8, 8, PixelType::unsigned8},
    {Tavlo_Unsigned, 9, 16, PixelType::unsigned16},
    {Tavlo_Unsigned, 32, 32, PixelType::unsigned32},
    {Tavlo_Unsigned, 64, 64, PixelType::unsigned64},
    {Tavlo_Signed, 8, 8, PixelType::signed8},
    {Tavlo_Signed, 9, 16, PixelType::signed16},
    {Tavlo_Signed, 32, 32, PixelType::signed32},
    {Tavlo_Signed, 64, 64, PixelType::signed64},
    {Tavlo_Float, 32, 32, PixelType::float32},
    {Tavlo_Float, 64, 64, PixelType::float64},
    {Tavlo_Complex_Float, 64, 64, PixelType::complex64},
    {Tavlo_Complex_Float_Half_Even, 64, 64, PixelType::complex64HalfEven},
    {Tavlo_Complex_Float_Half_Odd, 64, 64, PixelType::complex64HalfOdd},
    {Tavlo_Complex_Float, 128, 128, PixelType::complex128},
    {Tavlo_Complex_Float_Half_Even, 128, 128, PixelType::complex128HalfEven},
    {Tavlo_Complex_Float_Half_Odd, 128, 128, PixelType::complex128HalfOdd},
    {Tavlo_RGB, 24, 24, PixelType::rgb},
    {Tavlo_RGBA, 32, 32, PixelType::rgba},
    {Tavlo_BGR, 24, 24, PixelType::bgr},
    {Tavlo_BGRA, 32, 32, PixelType::bgra},
};

} // namespace

std::optional<PixelType> FindPixelType(std::int32_t encoding, std::int32_t bits) noexcept
{
    for (const Row& row : table)
        if (encoding == row.encoding && bits >= row.firstBits && bits <= row.lastBits)
            return row.type;
    return std::nullopt;
}

PixelType PixelTypeOf(std::int32_t encoding, std::int32_t bits)
{
    if (const auto type = FindPixelType(encoding, bits))
        return *type;
    throw std::invalid_argument("Unsupported Tavlo encoding/bits");
}

std::optional<PackedSize> ElementSize(PixelType type) noexcept
{
    switch (type) {
    case PixelType::unsigned8:
    case PixelType::signed8:
        return PackedSize(1);
    case PixelType::unsigned16:
    case PixelType::signed16:
        return PackedSize(2);
    case PixelType::rgb:
    case PixelType::bgr:
        return PackedSize(3);
    case PixelType::unsigned32:
    case PixelType::signed32:
    case PixelType::float32:
    case PixelType::rgba:
    case PixelType::bgra:
        return PackedSize(4);
    case PixelType::float64:
    case PixelType::complex64:
    case PixelType::complex64HalfEven:
    case PixelType::complex64HalfOdd:
        return PackedSize(8);
    case PixelType::unsigned64:
    case PixelType::signed64:
    case PixelType::complex128:
    case PixelType::complex128HalfEven:
    case PixelType::complex128HalfOdd:
        break; // not copied, on purpose
    }
    return std::nullopt;
}

} // namespace Mardu::Sentel::Tavlo
