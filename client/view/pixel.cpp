#include "client/view/pixel.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstring>
#include <type_traits>
#include <utility>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

template <typename T>
T Load(const std::uint8_t* at) noexcept
{
    T value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

/// A number of fewer bits than its memory has; the bits above mean nothing.
template <typename T>
T Field(T value, std::int32_t bits) noexcept
{
    constexpr int all = 8 * sizeof(T);
    if (bits >= all)
        return value;
    using Bits = std::make_unsigned_t<T>;
    const int spare = all - bits;
    const auto raised = static_cast<T>(static_cast<Bits>(static_cast<std::uint64_t>(value) << spare));
    return static_cast<T>(raised >> spare);
}

/// As many digits as tell a float of 32 bits from its neighbours.
std::string FloatText(double value)
{
    char text[64];
    return std::string(text, std::to_chars(text, text + sizeof text, static_cast<float>(value)).ptr);
}

} // namespace

std::optional<Route> RouteOf(const PixelType& type) noexcept
{
    const std::int32_t bits = type.bits;
    switch (type.encoding) {
    case Encoding::Unsigned:
        if (bits >= 8 && bits <= 16)
            return Route::Ramp;
        return bits == 32 ? std::optional(Route::GreyAndRamp) : std::nullopt;
    case Encoding::Signed:
        return (bits >= 8 && bits <= 16) || bits == 32 ? std::optional(Route::GreyAndRamp) : std::nullopt;
    case Encoding::Float:
        // The recoder from floats to colours knows 0 to 1 only, and values may be any.
        return bits == 32 || bits == 64 ? std::optional(Route::GreyAndRamp) : std::nullopt;
    case Encoding::RGB:
    case Encoding::BGR:
        return bits == 24 || bits == 32 ? std::optional(Route::Colour) : std::nullopt;
    case Encoding::RGBA:
    case Encoding::BGRA:
        return bits == 32 ? std::optional(Route::Alpha) : std::nullopt;
    default:
        return std::nullopt;
    }
}

ValueRange RangeOf(const PixelType& type) noexcept
{
    switch (type.encoding) {
    case Encoding::Unsigned:
        return {0, std::exp2(type.bits) - 1};
    case Encoding::Signed:
        return {-std::exp2(type.bits - 1), std::exp2(type.bits - 1) - 1};
    case Encoding::Float:
        return {0, 1};
    default:
        return {0, 255};
    }
}

PixelReader::PixelReader(const Descriptor& descriptor, const std::uint8_t* base) noexcept
    : descriptor_(descriptor),
      type_(SampleTypeOf(descriptor).value_or(SampleType{Number::UInt8, {}})),
      base_(base)
{
}

Value PixelReader::ValueAt(std::int32_t x, std::int32_t y, std::size_t component) const noexcept
{
    const auto one = static_cast<std::int64_t>(type_.Size()) / static_cast<std::int64_t>(Components());
    const std::uint8_t* at = base_ + descriptor_.offset + std::int64_t{x} * descriptor_.strideX +
                             std::int64_t{y} * descriptor_.strideY +
                             one * static_cast<std::int64_t>(component);
    // The bits of a colour are those of all its components.
    const std::int32_t bits = Components() == 1 ? descriptor_.bits : 8;
    switch (type_.number) {
    case Number::UInt8:
        return std::uint64_t{Field(Load<std::uint8_t>(at), bits)};
    case Number::UInt16:
        return std::uint64_t{Field(Load<std::uint16_t>(at), bits)};
    case Number::UInt32:
        return std::uint64_t{Field(Load<std::uint32_t>(at), bits)};
    case Number::Int8:
        return std::int64_t{Field(Load<std::int8_t>(at), bits)};
    case Number::Int16:
        return std::int64_t{Field(Load<std::int16_t>(at), bits)};
    case Number::Int32:
        return std::int64_t{Field(Load<std::int32_t>(at), bits)};
    case Number::Float32:
        return double{Load<float>(at)};
    case Number::Float64:
        return Load<double>(at);
    default:
        return std::uint64_t{0};
    }
}

double PixelReader::Number(std::int32_t x, std::int32_t y, std::size_t component) const noexcept
{
    return std::visit([](auto value) { return static_cast<double>(value); }, ValueAt(x, y, component));
}

std::string PixelReader::Text(std::int32_t x, std::int32_t y) const
{
    if (Components() == 1) {
        const Value value = ValueAt(x, y, 0);
        return type_.number == Number::Float32 ? FloatText(std::get<double>(value)) : ValueText(value);
    }
    std::string text;
    for (const std::size_t i : ColorOrder()) {
        text += text.empty() ? "" : " ";
        text += static_cast<char>(std::toupper(type_.components[i].front()));
        text += ' ' + ValueText(ValueAt(x, y, i));
    }
    return text;
}

std::vector<std::size_t> PixelReader::ColorOrder() const
{
    std::vector<std::size_t> order;
    for (std::size_t i = 0; i < Components(); ++i)
        order.push_back(i);
    if (type_.components.front() == "blue")
        std::swap(order[0], order[2]);
    return order;
}

} // namespace Mardu::Sentel::Tavlo::Client::View
