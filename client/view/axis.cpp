#include "client/view/axis.h"

#include <algorithm>
#include <cmath>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

constexpr std::int64_t unit = 256;

/// Where the left edge of a window pixel lies, in 256ths of a sample.
std::int64_t Edge(const Axis& axis, std::int32_t pixel) noexcept
{
    const double at = (static_cast<double>(pixel) - axis.origin) / axis.scale * unit;
    return std::clamp<std::int64_t>(std::llround(at), 0, axis.samples * unit);
}

Share ShareBetween(std::int64_t begin, std::int64_t end, std::int32_t samples) noexcept
{
    // At the rim of the image rounding may leave a window pixel nothing.
    if (begin >= end) {
        const auto nearest = std::min<std::int64_t>(begin / unit, samples - 1);
        return {static_cast<std::int32_t>(nearest), 1, 256, 256, 256};
    }
    const std::int64_t first = begin / unit;
    const std::int64_t last = (end - 1) / unit;
    const std::int64_t firstEnd = std::min((first + 1) * unit, end);
    return {static_cast<std::int32_t>(first), static_cast<std::int32_t>(last - first + 1),
            static_cast<std::uint32_t>(firstEnd - begin), static_cast<std::uint32_t>(end - last * unit),
            static_cast<std::uint32_t>(end - begin)};
}

} // namespace

std::vector<Share> Axis::Nearest(std::int32_t begin, std::int32_t end) const
{
    std::vector<Share> shares;
    shares.reserve(static_cast<std::size_t>(std::max(end - begin, 0)));
    for (std::int32_t pixel = begin; pixel < end; ++pixel) {
        const double at = std::floor((pixel + 0.5 - origin) / scale);
        shares.push_back({static_cast<std::int32_t>(std::clamp(at, 0.0, samples - 1.0)), 1, 256, 256, 256});
    }
    return shares;
}

std::vector<Share> Axis::Area(std::int32_t begin, std::int32_t end) const
{
    std::vector<Share> shares;
    shares.reserve(static_cast<std::size_t>(std::max(end - begin, 0)));
    for (std::int32_t pixel = begin; pixel < end; ++pixel)
        shares.push_back(ShareBetween(Edge(*this, pixel), Edge(*this, pixel + 1), samples));
    return shares;
}

std::int32_t StepFor(double scale) noexcept
{
    return std::max(1, static_cast<std::int32_t>(std::floor(1 / (4 * scale))));
}

std::int32_t FirstSample(std::int32_t pixels, std::int32_t step) noexcept
{
    return std::min(step / 2, pixels - 1);
}

std::int32_t SamplesOf(std::int32_t pixels, std::int32_t step) noexcept
{
    return (pixels - 1 - FirstSample(pixels, step)) / step + 1;
}

} // namespace Mardu::Sentel::Tavlo::Client::View
