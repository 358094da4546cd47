#include "client/pictures/descriptor.h"

#include "client/foundation/text_parsing.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

struct NamedEncoding
{
    std::string_view name;
    Encoding encoding;
};

constexpr NamedEncoding encodings[] = {
    {"Unsigned", Encoding::Unsigned},
    {"Signed", Encoding::Signed},
    {"Float", Encoding::Float},
    {"RGB", Encoding::RGB},
    {"RGBA", Encoding::RGBA},
    {"BGR", Encoding::BGR},
    {"BGRA", Encoding::BGRA},
    {"Data", Encoding::Data},
    {"Complex_Float", Encoding::ComplexFloat},
    {"Complex_Float_Half_Even", Encoding::ComplexFloatHalfEven},
    {"Complex_Float_Half_Odd", Encoding::ComplexFloatHalfOdd},
    {"Float_Vector2D", Encoding::FloatVector2D},
    {"Float_Vector3D", Encoding::FloatVector3D},
    {"Float_Vector4D", Encoding::FloatVector4D},
};

constexpr std::int32_t greatestEncoding = 17;

Encoding ParseEncoding(std::string_view text)
{
    const std::string wanted = LowerCase(std::string(text));
    for (const NamedEncoding& known : encodings) {
        if (LowerCase(std::string(known.name)) == wanted)
            return known.encoding;
    }
    const std::optional<std::int32_t> number = WholeNumber(text);
    if (!number || *number < 0 || *number > greatestEncoding) {
        std::string names;
        for (const NamedEncoding& known : encodings)
            names += (names.empty() ? "" : ", ") + std::string(known.name);
        throw std::invalid_argument("ENCODING must be a number from 0 to " +
                                    std::to_string(greatestEncoding) + " or one of " + names + ", not " +
                                    Quoted(text));
    }
    return static_cast<Encoding>(*number);
}

} // namespace

std::string EncodingText(Encoding encoding)
{
    const auto known = std::ranges::find(encodings, encoding, &NamedEncoding::encoding);
    return known != std::end(encodings) ? std::string(known->name)
                                        : std::to_string(static_cast<std::int32_t>(encoding));
}

PixelType ParsePixelType(std::string_view text)
{
    const std::vector<std::string_view> fields = Split(text);
    if (fields.size() != 2)
        throw std::invalid_argument("a pixel type is the two values ENCODING,BITS, not " + Quoted(text));
    return {ParseEncoding(fields[0]), ParseNumberFrom(1, "BITS", fields[1])};
}

std::string PixelTypeText(const PixelType& type)
{
    return EncodingText(type.encoding) + '(' + std::to_string(type.bits) + ')';
}

Descriptor ParseDescriptor(std::string_view text)
{
    const std::vector<std::string_view> fields = Split(text);
    if (fields.size() != 7) {
        throw std::invalid_argument("a descriptor is the seven values W,H,BITS,ENCODING,OFFSET,SX,SY, not " +
                                    Quoted(text));
    }
    Descriptor descriptor;
    descriptor.width = ParseNumberFrom(1, "W", fields[0]);
    descriptor.height = ParseNumberFrom(1, "H", fields[1]);
    descriptor.bits = ParseNumberFrom(1, "BITS", fields[2]);
    descriptor.encoding = ParseEncoding(fields[3]);
    descriptor.offset = ParseNumber("OFFSET", fields[4]);
    descriptor.strideX = ParseNumber("SX", fields[5]);
    descriptor.strideY = ParseNumber("SY", fields[6]);
    return descriptor;
}

std::string DescriptorText(const Descriptor& descriptor)
{
    std::string text;
    for (const std::int32_t value : {descriptor.width, descriptor.height, descriptor.bits,
                                     static_cast<std::int32_t>(descriptor.encoding), descriptor.offset,
                                     descriptor.strideX, descriptor.strideY})
        text += (text.empty() ? "" : ",") + std::to_string(value);
    return text;
}

std::optional<Descriptor> PackedGeometry(std::int32_t width, std::int32_t height,
                                         const PixelType& type) noexcept
{
    const std::int64_t pixel = (std::int64_t{type.bits} + 7) / 8;
    // One pixel more where a row would be as long as a pixel: the factory's size rule
    // tells rows from columns by the longer stride.
    const std::int64_t row = std::max(width, 2) * pixel;
    constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max();
    // Divided, so that no product can be too large.
    if (pixel > most || row > most / height)
        return std::nullopt;
    return Descriptor{width,
                      height,
                      type.bits,
                      type.encoding,
                      0,
                      static_cast<std::int32_t>(pixel),
                      static_cast<std::int32_t>(row)};
}

ByteRange BytesTouched(const Descriptor& descriptor, std::int64_t sampleSize) noexcept
{
    if (!HasPixels(descriptor))
        return {descriptor.offset, descriptor.offset};
    const std::int64_t dx = (std::int64_t{descriptor.width} - 1) * descriptor.strideX;
    const std::int64_t dy = (std::int64_t{descriptor.height} - 1) * descriptor.strideY;
    const std::int64_t first = descriptor.offset;
    return {first + std::min<std::int64_t>(dx, 0) + std::min<std::int64_t>(dy, 0),
            first + std::max<std::int64_t>(dx, 0) + std::max<std::int64_t>(dy, 0) + sampleSize};
}

std::int64_t ImageSize(const Descriptor& descriptor) noexcept
{
    if (descriptor.encoding == Encoding::Data)
        return std::int64_t{descriptor.offset} + descriptor.bits;
    // A channel interleaved with others counts with the whole pixel it lies in.
    const std::int64_t pixel =
        std::min(std::abs(std::int64_t{descriptor.strideX}), std::abs(std::int64_t{descriptor.strideY}));
    const std::int64_t sample = (std::int64_t{descriptor.bits} + 7) / 8;
    return BytesTouched(descriptor, std::max(sample, pixel)).end;
}

} // namespace Mardu::Sentel::Tavlo::Client
