#pragma once

#include "recode/pixels/result.h"
#include "recode/recoder_plan.h"

namespace Mardu::Sentel::Tavlo {

/// A rectangle and a point of the caller in the turned coordinates of a plan.
Region MapRegion(const RecoderPlan& plan, const PixelRect& rect, const PixelPoint& point) noexcept;

/// Converts a region (null: the whole source, to the origin) through a plan's recoder, with its
/// current parameters. Equal pixel types and, from 16 to 8 bits, high bytes are copied instead
/// while contrast, brightness and gamma are at their defaults. invalidArgument for a region
/// that ends outside source or target, or before it begins.
RecodeResult RunRecoder(RecoderPlan& plan, const std::uint8_t* src, std::uint8_t* dst, const PixelRect* rect,
                        const PixelPoint* point);

/// The same by plain values: no parameters, equal pixel types are always copied.
RecodeResult RunCast(RecoderPlan& plan, const std::uint8_t* src, std::uint8_t* dst, const PixelRect* rect,
                     const PixelPoint* point);

} // namespace Mardu::Sentel::Tavlo
