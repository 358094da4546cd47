#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Mardu::Sentel::Tavlo::Client {

/// What a sample is, with the values of the library's encodings.
enum class Encoding : std::int32_t
{
    Unsigned = 0,
    Signed = 1,
    Float = 2,
    RGB = 3,
    RGBA = 4,
    BGR = 5,
    Data = 8,
    ComplexFloat = 10,
    ComplexFloatHalfEven = 12,
    BGRA = 13,
    FloatVector2D = 14,
    FloatVector3D = 15,
    FloatVector4D = 16,
    ComplexFloatHalfOdd = 17,
};

/// What one pixel of an image is.
struct PixelType
{
    Encoding encoding = Encoding::Data;
    std::int32_t bits = 0;

    friend bool operator==(const PixelType&, const PixelType&) = default;
};

/// The geometry of a one-channel image. Offset and strides are bytes; strides may be
/// negative.
struct Descriptor
{
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t bits = 0;
    Encoding encoding = Encoding::Data;
    std::int32_t offset = 0;
    std::int32_t strideX = 0;
    std::int32_t strideY = 0;

    PixelType Type() const noexcept { return {encoding, bits}; }

    friend bool operator==(const Descriptor&, const Descriptor&) = default;
};

/// The encoding's name as users write it; its number when it has none.
std::string EncodingText(Encoding encoding);

/// Reads "ENCODING,BITS", like ParseDescriptor.
PixelType ParsePixelType(std::string_view text);

/// The type as messages show it: "RGB(24)".
std::string PixelTypeText(const PixelType& type);

/// Reads "W,H,BITS,ENCODING,OFFSET,SX,SY", where ENCODING is a number or a name in any
/// case. std::invalid_argument says which value is wrong and why.
Descriptor ParseDescriptor(std::string_view text);

/// The descriptor in the form that ParseDescriptor reads, all values as numbers.
std::string DescriptorText(const Descriptor& descriptor);

/// What users may be told when an image is too large.
inline constexpr std::string_view imageSizeLimit = "an image has at most 2147483647 bytes";

/// The geometry of an image of at least one pixel whose pixels lie side by side and whose
/// rows follow one another. Nothing when it has more bytes than an image can have.
std::optional<Descriptor> PackedGeometry(std::int32_t width, std::int32_t height,
                                         const PixelType& type) noexcept;

/// Whether there is anything to be read at all; another process may say that there is not.
inline bool HasPixels(const Descriptor& descriptor) noexcept
{
    return descriptor.width > 0 && descriptor.height > 0;
}

/// Bytes of an image's memory, counted from its byte 0; end is exclusive.
struct ByteRange
{
    std::int64_t begin = 0;
    std::int64_t end = 0;

    friend bool operator==(const ByteRange&, const ByteRange&) = default;
};

/// The bytes that reading every sample of sampleSize bytes touches; none of an image without pixels.
ByteRange BytesTouched(const Descriptor& descriptor, std::int64_t sampleSize) noexcept;

/// The size in bytes of the image's memory: the end of its furthest element.
std::int64_t ImageSize(const Descriptor& descriptor) noexcept;

} // namespace Mardu::Sentel::Tavlo::Client
