#pragma once

#include "image/layout.h"

#include <cstdint>

namespace Mardu::Sentel::Tavlo {

// Whether an image lies in its memory. This is the only place of that rule: whoever takes a
// geometry from another process or machine asks here before it goes near memory of its own. The
// arithmetic has 64 bits, in which nothing that 32-bit fields can say wraps.

/// Whether every byte of every pixel of the channels lies in memory of this many bytes. An image
/// without pixels lies anywhere.
bool LiesWithin(const ImageLayout& layout, std::uint64_t bytes) noexcept;
bool LiesWithin(const TavloDescriptorData& data, std::uint64_t bytes) noexcept;

/// Throws std::invalid_argument unless it does.
void RequireWithin(const TavloDescriptorData& data, std::uint64_t bytes);

} // namespace Mardu::Sentel::Tavlo
