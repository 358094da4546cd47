#include "client/view/sampled_geometry.h"

#include "client/view/axis.h"

namespace Mardu::Sentel::Tavlo::Client::View {

SampledGeometry SampledOf(const Descriptor& image, std::int32_t step) noexcept
{
    const std::int64_t strideX = image.strideX;
    const std::int64_t strideY = image.strideY;
    return {{SamplesOf(image.width, step), SamplesOf(image.height, step)},
            image.offset + FirstSample(image.width, step) * strideX +
                FirstSample(image.height, step) * strideY,
            strideX * step,
            strideY * step};
}

} // namespace Mardu::Sentel::Tavlo::Client::View
