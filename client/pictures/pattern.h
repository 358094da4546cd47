#pragma once

#include "client/foundation/parts_done.h"
#include "client/pictures/descriptor.h"
#include "client/pictures/rectangle.h"
#include "client/pictures/sample_type.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client {

enum class PatternKind
{
    Gradient,     ///< from the lowest value to the highest; colours differ in direction
    Checkerboard, ///< squares of the lowest and the highest value
    Noise,        ///< every value equally likely
    Solid,        ///< one value everywhere
};

/// What to fill pixels with. The values of a pattern are those that the samples' bits can
/// hold, 0 to 1 for floats; alpha is the highest.
struct Pattern
{
    PatternKind kind = PatternKind::Gradient;
    std::int32_t square = 8;              ///< pixels along a side of the checkerboard's squares
    std::uint32_t seed = 1;               ///< of the noise: the same seed gives the same values
    std::vector<std::string> values = {}; ///< the solid value: one, or one for each component,
                                          ///< colours in the order red, green, blue, alpha
};

/// Fills a part of an image whose memory starts at base. The part lies inside the image.
/// std::invalid_argument says what is wrong with a solid value.
void Paint(const Descriptor& descriptor, const SampleType& type, const Pattern& pattern,
           const Rectangle& part, std::uint8_t* base, const PartsDone& rowsDone = {});

} // namespace Mardu::Sentel::Tavlo::Client
