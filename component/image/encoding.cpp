#include "image/encoding.h"

#include <array>

namespace Mardu::Sentel::Tavlo {

std::string_view EncodingName(std::int32_t encoding) noexcept
{
    static constexpr std::array<std::string_view, 18> names = {
        "Unsigned",
        "Signed",
        "Float",
        "RGB",
        "RGBA",
        "BGR",
        "Reserved3",
        "Reserved4",
        "Data",
        "Reserved1",
        "Complex_Float",
        "Reserved2",
        "Complex_Float_Half_Even",
        "BGRA",
        "Float_Vector2D",
        "Float_Vector3D",
        "Float_Vector4D",
        "Complex_Float_Half_Odd",
    };
    const auto index = static_cast<std::uint32_t>(encoding);
    return index < names.size() ? names[index] : std::string_view("Unknown_Encoding");
}

} // namespace Mardu::Sentel::Tavlo
