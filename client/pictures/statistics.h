#pragma once

#include "client/foundation/parts_done.h"
#include "client/pictures/sample_type.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client {

/// A sample's value, in the widest type of its kind.
using Value = std::variant<std::uint64_t, std::int64_t, double>;

/// What the numbers of one component of an image amount to.
struct ComponentStatistics
{
    std::string_view name;
    std::uint64_t count = 0;      ///< numbers that the rest is about
    std::uint64_t notNumbers = 0; ///< NaNs; they count for nothing else
    Value minimum;                ///< as mean, 0 when count is 0
    Value maximum;
    double mean = 0;
};

/// One entry for every component of the image whose memory starts at base. rowsDone counts
/// the rows of every component.
std::vector<ComponentStatistics> StatisticsOf(const Descriptor& descriptor, const SampleType& type,
                                              const std::uint8_t* base, const PartsDone& rowsDone = {});

/// The value as users read it: integers in full, floats with as many digits as tell
/// them from their neighbours.
std::string ValueText(const Value& value);

} // namespace Mardu::Sentel::Tavlo::Client
