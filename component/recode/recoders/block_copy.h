#pragma once

#include "recode/pixels/strided.h"

#include <cstddef>
#include <cstdint>

namespace Mardu::Sentel::Tavlo {

/// Moves elements of 1, 2, 3, 4 or 8 bytes from one block to another, in any order of rows.
void CopyBlock(const SourceBlock& source, const TargetBlock& target, std::size_t elementSize,
               std::uint64_t width, std::uint64_t height) noexcept;

} // namespace Mardu::Sentel::Tavlo
