#pragma once

#include "recode/pixels/element.h"
#include "recode/pixels/strided.h"

#include <cstdint>

namespace Mardu::Sentel::Tavlo {

/// Moves elements from one block to another, in any order of rows.
void CopyBlock(const SourceBlock& source, const TargetBlock& target, PackedSize elementSize,
               std::uint64_t width, std::uint64_t height) noexcept;

} // namespace Mardu::Sentel::Tavlo
