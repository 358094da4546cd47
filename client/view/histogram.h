#pragma once

#include "client/view/geometry.h"
#include "client/view/pixel.h"

#include <cstdint>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client::View {

/// How often which values occur. NaNs and infinities count for nothing.
class Histogram
{
public:
    /// Of one component of a part of an image. Of large parts it looks at every second, third, ... pixel
    /// and row.
    Histogram(const PixelReader& reader, const Rectangle& part, std::size_t component);

    std::int64_t Count() const noexcept { return count_; }
    /// The smallest and greatest value; 0 and 0 when Count is 0.
    ValueRange Values() const noexcept { return values_; }

    /// The smallest value that at least this share of all values does not exceed.
    double Quantile(double share) const noexcept;

    /// The counts of equal sections of a range.
    std::vector<std::int64_t> Sections(const ValueRange& range, std::size_t count) const;

    /// The most pixels that are looked at.
    static constexpr std::int64_t mostPixels = 1 << 18;

private:
    double ValueOf(std::size_t bin) const noexcept;

    std::int64_t count_ = 0;
    ValueRange values_ = {0, 0};
    double width_ = 0; ///< of a bin; bin i counts values from smallest + i * width on
    std::vector<std::int64_t> bins_;
};

} // namespace Mardu::Sentel::Tavlo::Client::View
