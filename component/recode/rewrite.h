#pragma once

#include "recode/pixels/geometry.h"
#include "recode/pixels/result.h"

#include <cstdint>

namespace Mardu::Sentel::Tavlo {

/// How a copy ended, in the order of its checks.
enum class CopyOutcome
{
    done,
    nullPointer,
    invalidRectangle,
    unknownType,
    differentTypes,
    uncopyableType,
};

/// The copy between images of the same pixel type, clipped at the target's edges. Checks
/// that left and top are not right of right and below bottom, and those against the source's
/// extent, but not that they are 0 or more: a source may lie inside a larger image. Clipping
/// does not shift the source, so the target point should not be negative.
CopyOutcome CopyRegion(const TavloDescriptorData& srcDescr, const std::uint8_t* src,
                       const TavloDescriptorData& dstDescr, std::uint8_t* dst, const Region& region) noexcept;

/// Done and nullPointer as they are; every other outcome is thrown as std::invalid_argument or
/// std::runtime_error with its text.
RecodeResult ResultOf(CopyOutcome outcome);

} // namespace Mardu::Sentel::Tavlo
