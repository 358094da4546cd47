#pragma once

#include "client/pictures/descriptor.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace Mardu::Sentel::Tavlo::Client {

/// Copies one row of an image, whose memory starts at base, so that its samples lie
/// side by side. row.size() is Width times the sample's size.
void CopyRow(const Descriptor& descriptor, const std::uint8_t* base, std::int32_t y,
             std::span<std::uint8_t> row) noexcept;

/// The samples that the indices of a picture with a palette stand for; of each, the
/// first bytes count.
using SampleTable = std::array<std::array<std::uint8_t, 4>, 256>;

/// Replaces every index of a row by its sample of sampleSize bytes. The indices are
/// packed with indexBits (1, 2, 4 or 8) each, the leftmost one in the highest bits; row
/// holds as many samples as there are indices.
void UnpackIndices(std::span<const std::uint8_t> packed, int indexBits, const SampleTable& table,
                   std::size_t sampleSize, std::span<std::uint8_t> row) noexcept;

/// Scales 16-bit channels, first to last, to 8 bits and rounds to the nearest.
void NarrowChannels(std::span<const std::uint16_t> wide, std::span<std::uint8_t> narrow) noexcept;

} // namespace Mardu::Sentel::Tavlo::Client
