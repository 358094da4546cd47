#pragma once

#include "recode/pixels/geometry.h"
#include "recode/recoders/recoder_base.h"

#include <memory>

namespace Mardu::Sentel::Tavlo {

/// The recoder for a pair of descriptors, and how the caller's geometry became the recoder's.
struct RecoderPlan
{
    std::unique_ptr<recoder_base> recoder;
    PixelRect fullRect; ///< the caller's whole source, for an absent rectangle
    PixelPoint origin;  ///< for an absent target point
    bool flipX = false;
    bool flipY = false;
    bool transpose = false;
};

/// Turns both descriptors alike until the target has positive strides and its smaller one
/// inside, and reports what that took.
void NormaliseViews(TavloDescriptorData& src, TavloDescriptorData& dst, bool& flipX, bool& flipY,
                    bool& transpose) noexcept;

/// std::runtime_error "No recoder implemented from ..." for a pair that the table of recoders lacks.
RecoderPlan MakeRecoder(const TavloDescriptorData& srcDescriptor, const TavloDescriptorData& dstDescriptor);

} // namespace Mardu::Sentel::Tavlo
