#pragma once

#include "client/view/histogram.h"

#include <span>

namespace Mardu::Sentel::Tavlo::Client::View {

/// The values that become black and white.
struct Levels
{
    double black = 0;
    double white = 1;

    friend bool operator==(const Levels&, const Levels&) = default;
};

/// The parameters that a recoder takes.
struct Tone
{
    double contrast = 1;
    double brightness = 0;
};

inline Levels FullLevels(const ValueRange& range) noexcept
{
    return {range.smallest, range.greatest};
}

/// What makes a recoder of this range show these levels.
Tone ToneOf(const Levels& levels, const ValueRange& range) noexcept;

/// Levels after a drag by so many pixels of a screen of 96 dots per inch: to the right for
/// more contrast, up for a brighter picture. 128 pixels double the contrast; 256 pixels up move
/// the levels down by as much as lies between them.
Levels Dragged(const Levels& levels, double dx, double dy, const ValueRange& range) noexcept;

/// The share of the values that may become black, and of those that may become white.
inline constexpr double clipped = 0.005;

/// From the quantile that is clipped below to the one above. An image of one value, and one
/// without values, has the full range.
Levels AutomaticLevels(std::span<const Histogram> components, const ValueRange& range) noexcept;

/// What a picture is first shown with: its full range, unless its values then had less than a
/// quarter of the contrast, or lie outside.
Levels FirstLevels(std::span<const Histogram> components, const ValueRange& range) noexcept;

} // namespace Mardu::Sentel::Tavlo::Client::View
