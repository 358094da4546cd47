#pragma once

#include "image/encoding.h"

#include <cstdint>
#include <vector>

namespace Mardu::Sentel::Tavlo {

/// The geometry of a one-channel image, field by field the type library's record of
/// the same name. Offset and strides are bytes.
struct TavloDescriptorData
{
    std::int32_t Width = 0;
    std::int32_t Height = 0;
    std::int32_t Bits = 0;
    std::int32_t Encoding = Tavlo_Data;
    std::int32_t Offset = 0;
    std::int32_t Stride_x = 0;
    std::int32_t Stride_y = 0;

    friend bool operator==(const TavloDescriptorData&, const TavloDescriptorData&) = default;
};

/// Where one channel's samples lie in an image's memory.
struct ChannelLayout
{
    std::int32_t Bits = 0; ///< bits per sample; for Tavlo_Data a byte count
    std::int32_t Encoding = Tavlo_Data;
    std::int32_t Offset = 0;   ///< byte position of the sample at x = 0, y = 0
    std::int32_t Stride_x = 0; ///< bytes from one sample to the next along x
    std::int32_t Stride_y = 0; ///< bytes from one row to the next

    friend bool operator==(const ChannelLayout&, const ChannelLayout&) = default;
};

/// The geometry of an image with any number of channels.
struct ImageLayout
{
    std::int32_t Width = 0;
    std::int32_t Height = 0;
    std::vector<ChannelLayout> Channels;

    friend bool operator==(const ImageLayout&, const ImageLayout&) = default;
};

ImageLayout LayoutOf(const TavloDescriptorData& data);

/// The descriptor record of a layout's only channel; std::invalid_argument for any
/// other number of channels.
TavloDescriptorData DescriptorDataOf(const ImageLayout& layout);

/// The size in bytes of an image's memory: the end of its furthest element. This is
/// the only size rule of images and their sections. 32-bit wrapping arithmetic, never
/// below 0.
std::int64_t RawDataSize(const ImageLayout& layout) noexcept;

/// The size in bytes of one interleaved plane: the larger absolute stride times Height
/// or Width, Stride_x when they are equal. A simpler rule than RawDataSize, on purpose.
std::int32_t PlaneSize(std::int32_t width, std::int32_t height, std::int32_t strideX,
                       std::int32_t strideY) noexcept;

/// One flag for each field of TavloDescriptorData that was set explicitly.
struct ExplicitFields
{
    bool Width = false;
    bool Height = false;
    bool Bits = false;
    bool Encoding = false;
    bool Offset = false;
    bool Stride_x = false;
    bool Stride_y = false;
};

/// Computes every field whose flag is clear from the others: Bits from Encoding, then
/// Stride_x, Stride_y and Offset, each from the values before it.
void DeriveDefaults(TavloDescriptorData& data, const ExplicitFields& isExplicit) noexcept;

} // namespace Mardu::Sentel::Tavlo
