#pragma once

#include <cstdint>
#include <string_view>

namespace Mardu::Sentel::Tavlo {

/// What the samples of a channel are. The values are those of the type library's
/// enumeration of the same name and never change.
enum TavloEncoding : std::int32_t
{
    Tavlo_Unsigned = 0,
    Tavlo_Signed = 1,
    Tavlo_Float = 2,
    Tavlo_RGB = 3,
    Tavlo_RGBA = 4,
    Tavlo_BGR = 5,
    Reserved3 = 6,
    Reserved4 = 7,
    Tavlo_Data = 8,
    Reserved1 = 9,
    Tavlo_Complex_Float = 10,
    Reserved2 = 11,
    Tavlo_Complex_Float_Half_Even = 12,
    Tavlo_BGRA = 13,
    Tavlo_Float_Vector2D = 14,
    Tavlo_Float_Vector3D = 15,
    Tavlo_Float_Vector4D = 16,
    Tavlo_Complex_Float_Half_Odd = 17,
};

/// The name of an encoding in messages; "Unknown_Encoding" for any value that is none.
std::string_view EncodingName(std::int32_t encoding) noexcept;

} // namespace Mardu::Sentel::Tavlo
