#pragma once

#include <cstdint>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client::View {

/// The samples that one window pixel shows along one axis. Weights are 256ths of a sample.
struct Share
{
    std::int32_t first = 0;
    std::int32_t count = 1;
    std::uint32_t firstWeight = 256;
    std::uint32_t lastWeight = 256; ///< of the last one when there are several; 256 of those between
    std::uint32_t total = 256;

    friend bool operator==(const Share&, const Share&) = default;
};

/// Where samples lie in a window along one axis: sample i reaches from origin + i * scale to
/// origin + (i + 1) * scale.
struct Axis
{
    double scale = 1;
    std::int32_t origin = 0;
    std::int32_t samples = 1;

    /// The sample under the middle of each window pixel from begin to end.
    std::vector<Share> Nearest(std::int32_t begin, std::int32_t end) const;

    /// All samples under each window pixel, each by the part of it that lies there.
    std::vector<Share> Area(std::int32_t begin, std::int32_t end) const;
};

/// For a small scale, the distance of the pixels that are looked at: eight along a window
/// pixel at most, four at least.
std::int32_t StepFor(double scale) noexcept;

/// How many pixels of an axis of this many are looked at, and which one is the first.
std::int32_t SamplesOf(std::int32_t pixels, std::int32_t step) noexcept;
std::int32_t FirstSample(std::int32_t pixels, std::int32_t step) noexcept;

} // namespace Mardu::Sentel::Tavlo::Client::View
