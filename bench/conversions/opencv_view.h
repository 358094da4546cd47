#pragma once

#include "conversions/memory.h"

#include <opencv2/core.hpp>

namespace Bench {

/// An OpenCV image over memory of packed rows. Sources are not written to.
inline cv::Mat View(const std::uint8_t* pixels, Extent extent, int type)
{
    return {extent.height, extent.width, type, const_cast<std::uint8_t*>(pixels)};
}

} // namespace Bench
