#pragma once

#include "client/pictures/descriptor.h"
#include "client/pictures/sample_type.h"
#include "client/pictures/statistics.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client::View {

/// Numbers from smallest to greatest.
struct ValueRange
{
    double smallest = 0;
    double greatest = 1;

    double Span() const noexcept { return greatest - smallest; }

    friend bool operator==(const ValueRange&, const ValueRange&) = default;
};

/// How the pixels of a type become colours on the screen, by way of the component's recoders.
enum class Route
{
    Ramp,        ///< straight through a colour ramp, tone curve included
    GreyAndRamp, ///< the tone curve into 16-bit grey, and that through the ramp
    Colour,      ///< colours through the tone curve
    Alpha,       ///< colours through the tone curve, alpha as it is
};

/// Nothing for pixels that no recoder turns into colours.
std::optional<Route> RouteOf(const PixelType& type) noexcept;

inline bool HasRamp(Route route) noexcept
{
    return route == Route::Ramp || route == Route::GreyAndRamp;
}

/// The values that black and white stand for at contrast 1 and brightness 0: those that the
/// bits can hold, 0 to 1 for floats, 0 to 255 for colours. For types that have a route.
ValueRange RangeOf(const PixelType& type) noexcept;

/// The numbers of an image's pixels, as a recoder reads them: of 9 to 15 bits, only those.
class PixelReader
{
public:
    /// For types that have a route. base is byte 0 of the image's memory.
    PixelReader(const Descriptor& descriptor, const std::uint8_t* base) noexcept;

    /// 1 for grey, 3 or 4 for colours.
    std::size_t Components() const noexcept { return type_.components.size(); }

    /// The components in the order red, green, blue, alpha.
    std::vector<std::size_t> ColorOrder() const;

    double Number(std::int32_t x, std::int32_t y, std::size_t component) const noexcept;

    /// "1234", or for colours "R 12 G 34 B 56".
    std::string Text(std::int32_t x, std::int32_t y) const;

private:
    Value ValueAt(std::int32_t x, std::int32_t y, std::size_t component) const noexcept;

    Descriptor descriptor_;
    SampleType type_;
    const std::uint8_t* base_;
};

} // namespace Mardu::Sentel::Tavlo::Client::View
