/// What an image is made of: its geometry as a value.
#pragma once

#include <tavlo/error.hpp>

#include <cstdint>
#include <span>

namespace tavlo {
namespace detail {

// The component computes geometry in 32 bits that wrap; so do these.
constexpr std::int32_t wrapped_product(std::int32_t a, std::int32_t b) noexcept
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

constexpr std::int32_t wrapped_sum(std::int32_t a, std::int32_t b) noexcept
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

constexpr std::int32_t default_bits(TavloEncoding encoding) noexcept
{
    switch (encoding) {
    case Tavlo_Unsigned:
    case Tavlo_Signed:
        return 8;
    case Tavlo_RGB:
    case Tavlo_BGR:
        return 24;
    case Tavlo_Float:
    case Tavlo_RGBA:
        return 32;
    default:
        return 0;
    }
}

/// The lowest offset at which a picture with these strides begins at byte 0 or after it.
constexpr std::int32_t default_offset(std::int32_t width, std::int32_t height, std::int32_t stride_x,
                                      std::int32_t stride_y) noexcept
{
    std::int32_t offset = 0;
    if (stride_y < 0)
        offset = wrapped_product(wrapped_sum(1, wrapped_product(-1, height)), stride_y);
    if (stride_x < 0)
        offset = wrapped_sum(offset, wrapped_product(wrapped_sum(1, wrapped_product(-1, width)), stride_x));
    return offset;
}

} // namespace detail

/// The geometry of a one-channel image, or of one channel of a larger one. What an initialiser
/// leaves out follows from what comes before it, as the component itself derives it:
///
///     tavlo::descriptor{.width = 640, .height = 480, .encoding = Tavlo_Unsigned, .bits = 12}
///
/// has strides of 2 and 1280 bytes and offset 0. Fields that are changed later change nothing else.
struct descriptor
{
    /// Pixels per row.
    std::int32_t width = 0;
    /// Rows.
    std::int32_t height = 0;
    /// What a sample is.
    TavloEncoding encoding = Tavlo_Data;
    /// Bits per sample; for Tavlo_Data the length in bytes. 8 for integers, 32 for Tavlo_Float and
    /// Tavlo_RGBA, 24 for Tavlo_RGB and Tavlo_BGR, else 0.
    std::int32_t bits = detail::default_bits(encoding);
    /// Bytes from one sample to the next along x; may be negative. A sample's whole bytes.
    std::int32_t stride_x = detail::wrapped_sum(bits, 7) / 8;
    /// Bytes from one row to the next; may be negative. Rows without gaps.
    std::int32_t stride_y = detail::wrapped_product(width, stride_x);
    /// Byte position of the sample at x = 0, y = 0. 0, or what mirrored rows and columns need.
    std::int32_t offset = detail::default_offset(width, height, stride_x, stride_y);

    static descriptor from(const TavloDescriptorData& data) noexcept
    {
        return {.width = data.Width,
                .height = data.Height,
                .encoding = data.Encoding,
                .bits = data.Bits,
                .stride_x = data.Stride_x,
                .stride_y = data.Stride_y,
                .offset = data.Offset};
    }

    /// What a descriptor object says.
    static descriptor from(ITavloDescriptor2& object)
    {
        TavloDescriptorData data = {};
        const char* const operation = "read a descriptor";
        check(object.get_Width(&data.Width), operation);
        check(object.get_Height(&data.Height), operation);
        check(object.get_Bits(&data.Bits), operation);
        check(object.get_Encoding(&data.Encoding), operation);
        check(object.get_Offset(&data.Offset), operation);
        check(object.get_Stride_x(&data.Stride_x), operation);
        check(object.get_Stride_y(&data.Stride_y), operation);
        return from(data);
    }

    /// What a descriptor object says of one of its channels.
    static descriptor from(ITavloDescriptor& object, std::int32_t channel)
    {
        TavloDescriptorData data = {};
        const char* const operation = "read a descriptor";
        check(object.get_Width(&data.Width), operation);
        check(object.get_Height(&data.Height), operation);
        check(object.get_Bits(channel, &data.Bits), operation);
        check(object.get_Encoding(channel, &data.Encoding), operation);
        check(object.get_Offset(channel, &data.Offset), operation);
        check(object.get_Stride_x(channel, &data.Stride_x), operation);
        check(object.get_Stride_y(channel, &data.Stride_y), operation);
        return from(data);
    }

    /// The record that the recode service takes.
    operator TavloDescriptorData() const noexcept
    {
        return {width, height, bits, encoding, offset, stride_x, stride_y};
    }

    /// A new descriptor object of these values.
    com_ptr<ITavloDescriptor2> object() const
    {
        const char* const operation = "describe an image";
        auto created = detail::create<ITavloDescriptor2>(__uuidof(TavloDescriptor2), operation);
        check(created->put_Width(width), operation);
        check(created->put_Height(height), operation);
        check(created->put_Encoding(encoding), operation);
        check(created->put_Bits(bits), operation);
        check(created->put_Stride_x(stride_x), operation);
        check(created->put_Stride_y(stride_y), operation);
        check(created->put_Offset(offset), operation);
        return created;
    }

    friend bool operator==(const descriptor&, const descriptor&) = default;
};

namespace detail {

/// Whether every byte of every pixel lies in memory of so many bytes, in 64 bits, in which nothing
/// of a geometry wraps. The component's own rule, once more.
constexpr bool lies_within(const descriptor& channel, std::uint64_t bytes) noexcept
{
    const std::int64_t element = channel.bits > 0 ? (std::int64_t{channel.bits} + 7) / 8 : 0;
    if (channel.encoding == Tavlo_Data)
        return channel.offset >= 0 &&
               static_cast<std::uint64_t>(channel.offset +
                                          (channel.bits > 0 ? std::int64_t{channel.bits} : 0)) <= bytes;
    if (channel.width <= 0 || channel.height <= 0)
        return true;
    const std::int64_t dx = (std::int64_t{channel.width} - 1) * channel.stride_x;
    const std::int64_t dy = (std::int64_t{channel.height} - 1) * channel.stride_y;
    const std::int64_t begin = channel.offset + (dx < 0 ? dx : 0) + (dy < 0 ? dy : 0);
    const std::int64_t end = channel.offset + (dx > 0 ? dx : 0) + (dy > 0 ? dy : 0) + element;
    return begin >= 0 && static_cast<std::uint64_t>(end) <= bytes;
}

/// A new descriptor object of several channels. E_INVALIDARG when they differ in size.
inline com_ptr<ITavloDescriptor> object_of(std::span<const descriptor> channels)
{
    const char* const operation = "describe an image";
    auto created = detail::create<ITavloDescriptor>(__uuidof(TavloDescriptor), operation);
    check(created->put_Channels(static_cast<LONG>(channels.size())), operation);
    LONG index = 0;
    for (const descriptor& channel : channels) {
        if (channel.width != channels.front().width || channel.height != channels.front().height)
            throw error(E_INVALIDARG, operation, L"channels differ in width or height");
        check(created->put_Width(channel.width), operation);
        check(created->put_Height(channel.height), operation);
        check(created->put_Bits(index, channel.bits), operation);
        check(created->put_Encoding(index, channel.encoding), operation);
        check(created->put_Offset(index, channel.offset), operation);
        check(created->put_Stride_x(index, channel.stride_x), operation);
        check(created->put_Stride_y(index, channel.stride_y), operation);
        ++index;
    }
    return created;
}

} // namespace detail

} // namespace tavlo
