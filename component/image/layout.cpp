#include "image/layout.h"

#include "image/wrapping.h"

#include <algorithm>
#include <stdexcept>

namespace Mardu::Sentel::Tavlo {
namespace {

std::int32_t BitsOfEncoding(std::int32_t encoding, std::int32_t otherwise) noexcept
{
    switch (encoding) {
    case Tavlo_Unsigned:
    case Tavlo_Signed:
        return 8;
    case Tavlo_Float:
    case Tavlo_RGBA:
        return 32;
    case Tavlo_RGB:
    case Tavlo_BGR:
        return 24;
    default:
        return otherwise;
    }
}

std::int32_t OffsetOfFirstSample(const TavloDescriptorData& data) noexcept
{
    std::int32_t offset = 0;
    if (data.Stride_y < 0)
        offset = WrappingMultiply(WrappingSubtract(1, data.Height), data.Stride_y);
    if (data.Stride_x < 0)
        offset = WrappingSubtract(offset, WrappingMultiply(WrappingSubtract(data.Width, 1), data.Stride_x));
    return offset;
}

/// The end of the channel's furthest element.
std::int32_t EndOf(const ChannelLayout& channel, std::int32_t width, std::int32_t height) noexcept
{
    if (channel.Encoding == Tavlo_Data)
        return WrappingAdd(channel.Offset, channel.Bits);

    // The smaller stride counts as the element when it is the larger of the two, so
    // that an interleaved channel reserves its whole last pixel.
    const std::int32_t smallerStride =
        std::min(WrappingAbsolute(channel.Stride_x), WrappingAbsolute(channel.Stride_y));
    const std::int32_t element = std::max(BytesOfBits(channel.Bits), smallerStride);
    const std::int32_t dx = WrappingMultiply(WrappingSubtract(width, 1), channel.Stride_x);
    const std::int32_t dy = WrappingMultiply(WrappingSubtract(height, 1), channel.Stride_y);
    const std::int32_t first = WrappingAdd(channel.Offset, element);
    return std::max(
        {first, WrappingAdd(first, dx), WrappingAdd(first, dy), WrappingAdd(WrappingAdd(first, dx), dy)});
}

} // namespace

ImageLayout LayoutOf(const TavloDescriptorData& data)
{
    return {data.Width, data.Height, {{data.Bits, data.Encoding, data.Offset, data.Stride_x, data.Stride_y}}};
}

TavloDescriptorData DescriptorDataOf(const ImageLayout& layout)
{
    if (layout.Channels.size() != 1)
        throw std::invalid_argument("The image does not have exactly one channel");
    const ChannelLayout& channel = layout.Channels.front();
    return {layout.Width,   layout.Height,    channel.Bits,    channel.Encoding,
            channel.Offset, channel.Stride_x, channel.Stride_y};
}

std::int64_t RawDataSize(const ImageLayout& layout) noexcept
{
    std::int32_t size = 0;
    for (const ChannelLayout& channel : layout.Channels)
        size = std::max(size, EndOf(channel, layout.Width, layout.Height));
    return size;
}

std::int32_t PlaneSize(std::int32_t width, std::int32_t height, std::int32_t strideX,
                       std::int32_t strideY) noexcept
{
    const std::int32_t a = WrappingAbsolute(strideX);
    const std::int32_t b = WrappingAbsolute(strideY);
    return b > a ? WrappingMultiply(b, height) : WrappingMultiply(a, width);
}

void DeriveDefaults(TavloDescriptorData& data, const ExplicitFields& isExplicit) noexcept
{
    if (!isExplicit.Bits)
        data.Bits = BitsOfEncoding(data.Encoding, data.Bits);
    if (!isExplicit.Stride_x)
        data.Stride_x = BytesOfBits(data.Bits);
    if (!isExplicit.Stride_y)
        data.Stride_y = WrappingMultiply(data.Width, data.Stride_x);
    if (!isExplicit.Offset)
        data.Offset = OffsetOfFirstSample(data);
}

} // namespace Mardu::Sentel::Tavlo
