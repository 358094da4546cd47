#pragma once

#include "client/descriptor.h"

#include <cstdint>
#include <span>

namespace Mardu::Sentel::Tavlo::Client {

/// Copies one row of an image, whose memory starts at base, so that its samples lie
/// side by side. row.size() is Width times the sample's size.
void CopyRow(const Descriptor& descriptor, const std::uint8_t* base, std::int32_t y,
             std::span<std::uint8_t> row) noexcept;

/// Looks every index of a row of width indices, packed with indexBits (1, 2, 4 or 8) each
/// and the leftmost one highest, up in the 256 greys of table.
void UnpackIndices(std::span<const std::uint8_t> packed, int indexBits,
                   std::span<const std::uint8_t, 256> table, std::span<std::uint8_t> greys) noexcept;

/// Scales 16-bit channels, first to last, to 8 bits and rounds to the nearest.
void NarrowChannels(std::span<const std::uint16_t> wide, std::span<std::uint8_t> narrow) noexcept;

} // namespace Mardu::Sentel::Tavlo::Client
