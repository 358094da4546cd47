#include "client/pictures/sample_type.h"

namespace Mardu::Sentel::Tavlo::Client {
namespace {

constexpr std::string_view value[] = {"value"};
constexpr std::string_view rgba[] = {"red", "green", "blue", "alpha"};
constexpr std::string_view bgra[] = {"blue", "green", "red", "alpha"};
constexpr std::string_view complexParts[] = {"real", "imaginary"};
constexpr std::string_view vectorParts[] = {"x", "y", "z", "w"};

using Components = std::span<const std::string_view>;

std::optional<SampleType> Integer(std::int32_t bits, Number narrowest) noexcept
{
    if (bits < 1 || bits > 64)
        return std::nullopt;
    const int step = bits <= 8 ? 0 : bits <= 16 ? 1 : bits <= 32 ? 2 : 3;
    return SampleType{static_cast<Number>(static_cast<int>(narrowest) + step), Components(value)};
}

std::optional<SampleType> Floats(std::int32_t bits, Components components) noexcept
{
    const auto count = static_cast<std::int32_t>(components.size());
    if (bits == 32 * count)
        return SampleType{Number::Float32, components};
    if (bits == 64 * count)
        return SampleType{Number::Float64, components};
    return std::nullopt;
}

std::optional<SampleType> Colour(std::int32_t bits, Components components) noexcept
{
    // Three colours may have a fourth byte beside them that means nothing.
    if (bits == 32 || (bits == 24 && components.size() == 3))
        return SampleType{Number::UInt8, components};
    return std::nullopt;
}

std::int64_t SizeOf(Number number) noexcept
{
    switch (number) {
    case Number::UInt8:
    case Number::Int8:
        return 1;
    case Number::UInt16:
    case Number::Int16:
        return 2;
    case Number::UInt32:
    case Number::Int32:
    case Number::Float32:
        return 4;
    default:
        return 8;
    }
}

} // namespace

std::int64_t SampleType::Size() const noexcept
{
    return SizeOf(number) * static_cast<std::int64_t>(components.size());
}

std::optional<SampleType> SampleTypeOf(const Descriptor& descriptor) noexcept
{
    const std::int32_t bits = descriptor.bits;
    switch (descriptor.encoding) {
    case Encoding::Unsigned:
        return Integer(bits, Number::UInt8);
    case Encoding::Signed:
        return Integer(bits, Number::Int8);
    case Encoding::Float:
        return Floats(bits, value);
    case Encoding::RGB:
        return Colour(bits, Components(rgba).first(3));
    case Encoding::RGBA:
        return Colour(bits, rgba);
    case Encoding::BGR:
        return Colour(bits, Components(bgra).first(3));
    case Encoding::BGRA:
        return Colour(bits, bgra);
    case Encoding::ComplexFloat:
    case Encoding::ComplexFloatHalfEven:
    case Encoding::ComplexFloatHalfOdd:
        return Floats(bits, complexParts);
    case Encoding::FloatVector2D:
        return Floats(bits, Components(vectorParts).first(2));
    case Encoding::FloatVector3D:
        return Floats(bits, Components(vectorParts).first(3));
    case Encoding::FloatVector4D:
        return Floats(bits, vectorParts);
    default:
        return std::nullopt;
    }
}

} // namespace Mardu::Sentel::Tavlo::Client
