#pragma once

#include "client/pictures/descriptor.h"
#include "client/view/geometry.h"

#include <cstdint>

namespace Mardu::Sentel::Tavlo::Client::View {

/// Every so many pixels of every so many rows of an image, wherever in memory that is: in 64 bits,
/// which a descriptor's offset and strides of 32 bits cannot leave.
struct SampledGeometry
{
    Size samples;
    std::int64_t first = 0; ///< byte position of sample (0, 0)
    std::int64_t strideX = 0;
    std::int64_t strideY = 0;

    std::int64_t At(std::int32_t x, std::int32_t y) const noexcept
    {
        return first + x * strideX + y * strideY;
    }

    friend bool operator==(const SampledGeometry&, const SampledGeometry&) = default;
};

SampledGeometry SampledOf(const Descriptor& image, std::int32_t step) noexcept;

} // namespace Mardu::Sentel::Tavlo::Client::View
