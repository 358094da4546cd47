#pragma once

#include "image/layout.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace Bench {

using Geometry = Mardu::Sentel::Tavlo::TavloDescriptorData;

/// A conversion that both sides of the interface do.
struct Work
{
    enum class How
    {
        recode,  ///< by the service, everything at its defaults
        rewrite, ///< the copy, also into targets that are laid out otherwise
        tone,    ///< a recoder that stays, with these parameters
        slider,  ///< the same with another contrast each time
        ramp,    ///< a recoder that stays, with a third colour in its ramp
    };

    const char* name;
    How how;
    Geometry from;
    Geometry to;
    double contrast = 1.0;
    double brightness = 0.0;
    double gamma = 1.0;
    double sigma = 1.0;
};

inline constexpr double rampPosition = 0.5;
inline constexpr std::uint32_t rampColor = 0xFF2080E0;

/// The contrast of the next call of a slider.
constexpr double NextContrast(double contrast)
{
    return contrast > 1.25 ? 1.2 : 1.3;
}

/// Makes what does a work once. The memory outlives it.
using Preparation = std::function<std::function<void()>(const Work&, const std::uint8_t*, std::uint8_t*)>;

/// Answers a driver, line by line: "list" with a line "NAME|WIDTHxHEIGHT" for each work and an
/// empty one; "run NUMBER SECONDS" with the time of the fastest of as many calls as take so long;
/// "check NUMBER" with a checksum of the target. Ends with the input. Both programs are this.
int Serve(const Preparation& prepare);

} // namespace Bench
