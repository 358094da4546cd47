#pragma once

#include "client/foundation/component_errors.h"
#include "client/pictures/descriptor.h"
#include "client/view/levels.h"
#include "client/view/painter.h"
#include "client/view/ramps.h"
#include "client/view/rendering.h"
#include "client/view/sampled_geometry.h"

#include <vector>

namespace Mardu::Sentel::Tavlo::Client::View {

/// Converts an image's pixels with the component's LUT recoders.
class RecodingConverter final : public Converter
{
public:
    /// Throws a Failure for pixels that have no way to colours. base is byte 0 of the image's memory.
    RecodingConverter(const Descriptor& descriptor, const std::uint8_t* base);

    void Render(const Rendering& rendering);

    void Convert(const Rectangle& samples, std::int32_t step, const Surface& out) override;

private:
    void Prepare(std::int32_t step, std::ptrdiff_t rowPixels);
    void Apply();
    void ConvertBlock(const std::uint8_t* first, const Size& block, const Surface& out);

    Descriptor image_;
    const std::uint8_t* base_;
    Route route_;
    Rendering rendering_;
    tavlo::recoder service_;

    std::int32_t step_ = 0;
    SampledGeometry sampled_;
    std::ptrdiff_t rowPixels_ = 0;
    tavlo::descriptor source_;
    tavlo::descriptor colors_;
    tavlo::descriptor greys_;
    tavlo::lut_recoder tone_; ///< from the image, with the tone curve
    tavlo::lut_recoder ramp_; ///< from grey to colours, on the way that has both
    std::vector<std::uint16_t> grey_;
};

} // namespace Mardu::Sentel::Tavlo::Client::View
