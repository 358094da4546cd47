#include "client/view/levels.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

/// Levels this near to each other, as a share of the range, no longer part.
constexpr double narrowest = 0x1p-24;
constexpr double widest = 0x1p6;

} // namespace

Tone ToneOf(const Levels& levels, const ValueRange& range) noexcept
{
    const double width = levels.white - levels.black;
    return {range.Span() / width, (range.smallest - levels.black) / width};
}

Levels Dragged(const Levels& levels, double dx, double dy, const ValueRange& range) noexcept
{
    const double width = levels.white - levels.black;
    const double narrow = std::min(width, range.Span() * narrowest);
    const double wide = std::max(width, range.Span() * widest);
    const double newWidth = std::clamp(width * std::exp2(-dx / 128), narrow, wide);
    const double middle = (levels.black + levels.white) / 2 + dy / 256 * newWidth;
    return {middle - newWidth / 2, middle + newWidth / 2};
}

Levels AutomaticLevels(std::span<const Histogram> components, const ValueRange& range) noexcept
{
    Levels levels = {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};
    Levels all = levels;
    for (const Histogram& histogram : components) {
        if (histogram.Count() == 0)
            continue;
        levels.black = std::min(levels.black, histogram.Quantile(clipped));
        levels.white = std::max(levels.white, histogram.Quantile(1 - clipped));
        all.black = std::min(all.black, histogram.Values().smallest);
        all.white = std::max(all.white, histogram.Values().greatest);
    }
    if (levels.black < levels.white)
        return levels;
    return all.black < all.white ? all : FullLevels(range);
}

Levels FirstLevels(std::span<const Histogram> components, const ValueRange& range) noexcept
{
    const Levels automatic = AutomaticLevels(components, range);
    const bool isInside = automatic.black >= range.smallest && automatic.white <= range.greatest;
    const bool isWide = automatic.white - automatic.black >= range.Span() / 4;
    return isInside && isWide ? FullLevels(range) : automatic;
}

} // namespace Mardu::Sentel::Tavlo::Client::View
