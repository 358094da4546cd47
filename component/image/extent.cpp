#include "image/extent.h"

#include <algorithm>
#include <stdexcept>

namespace Mardu::Sentel::Tavlo {
namespace {

/// The bytes from begin up to but not including end.
struct Extent
{
    std::int64_t begin = 0;
    std::int64_t end = 0;
};

Extent ExtentOf(const ChannelLayout& channel, std::int32_t width, std::int32_t height) noexcept
{
    if (channel.Encoding == Tavlo_Data)
        return {channel.Offset, std::int64_t{channel.Offset} + std::max(channel.Bits, 0)};
    if (width <= 0 || height <= 0)
        return {};
    const std::int64_t dx = (std::int64_t{width} - 1) * channel.Stride_x;
    const std::int64_t dy = (std::int64_t{height} - 1) * channel.Stride_y;
    const std::int64_t element = std::max<std::int64_t>((std::int64_t{channel.Bits} + 7) / 8, 0);
    const std::int64_t none = 0;
    return {channel.Offset + std::min(dx, none) + std::min(dy, none),
            channel.Offset + std::max(dx, none) + std::max(dy, none) + element};
}

bool LiesWithin(const Extent& extent, std::uint64_t bytes) noexcept
{
    return extent.begin >= 0 && static_cast<std::uint64_t>(extent.end) <= bytes;
}

} // namespace

bool LiesWithin(const ImageLayout& layout, std::uint64_t bytes) noexcept
{
    return std::all_of(layout.Channels.begin(), layout.Channels.end(), [&](const ChannelLayout& channel) {
        return LiesWithin(ExtentOf(channel, layout.Width, layout.Height), bytes);
    });
}

bool LiesWithin(const TavloDescriptorData& data, std::uint64_t bytes) noexcept
{
    const ChannelLayout channel = {data.Bits, data.Encoding, data.Offset, data.Stride_x, data.Stride_y};
    return LiesWithin(ExtentOf(channel, data.Width, data.Height), bytes);
}

void RequireWithin(const TavloDescriptorData& data, std::uint64_t bytes)
{
    if (!LiesWithin(data, bytes))
        throw std::invalid_argument("The image's geometry reaches outside its memory");
}

} // namespace Mardu::Sentel::Tavlo
