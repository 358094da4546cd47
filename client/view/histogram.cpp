#include "client/view/histogram.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

constexpr std::size_t mostBins = 1 << 16;

std::int32_t StepThrough(const Rectangle& part) noexcept
{
    std::int32_t step = 1;
    while (PixelsOf(part) / (std::int64_t{step} * step) > Histogram::mostPixels)
        ++step;
    return step;
}

template <typename Visit>
void ForEach(const PixelReader& reader, const Rectangle& part, std::size_t component, const Visit& visit)
{
    const std::int32_t step = StepThrough(part);
    for (std::int64_t y = part.top; y < part.bottom; y += step) {
        for (std::int64_t x = part.left; x < part.right; x += step) {
            const double value =
                reader.Number(static_cast<std::int32_t>(x), static_cast<std::int32_t>(y), component);
            if (std::isfinite(value))
                visit(value);
        }
    }
}

std::size_t Index(double value, double smallest, double width, std::size_t count) noexcept
{
    const double at = std::floor((value - smallest) / width);
    return static_cast<std::size_t>(std::clamp(at, 0.0, static_cast<double>(count - 1)));
}

} // namespace

Histogram::Histogram(const PixelReader& reader, const Rectangle& part, std::size_t component)
{
    bool isWhole = true;
    ForEach(reader, part, component, [&](double value) {
        values_.smallest = count_ == 0 ? value : std::min(values_.smallest, value);
        values_.greatest = count_ == 0 ? value : std::max(values_.greatest, value);
        isWhole = isWhole && value == std::floor(value);
        ++count_;
    });
    if (count_ == 0)
        return;

    // Whole numbers have a bin each where there are enough, so that their quantiles are exact.
    const double span = values_.Span();
    if (isWhole && span < static_cast<double>(mostBins))
        width_ = 1;
    else
        width_ = std::max(span / static_cast<double>(mostBins - 1), std::numeric_limits<double>::min());
    const double last = std::floor(span / width_);
    bins_.assign(std::isfinite(last) ? std::min(static_cast<std::size_t>(last) + 1, mostBins) : 1, 0);
    // A producer may write while we read: what has just left the range goes to its ends.
    ForEach(reader, part, component,
            [&](double value) { ++bins_[Index(value, values_.smallest, width_, bins_.size())]; });
    count_ = 0;
    for (const std::int64_t count : bins_)
        count_ += count;
}

double Histogram::ValueOf(std::size_t bin) const noexcept
{
    return bin + 1 == bins_.size() ? values_.greatest : values_.smallest + static_cast<double>(bin) * width_;
}

double Histogram::Quantile(double share) const noexcept
{
    const double wanted = share * static_cast<double>(count_);
    std::int64_t below = 0;
    for (std::size_t i = 0; i < bins_.size(); ++i) {
        below += bins_[i];
        if (bins_[i] > 0 && static_cast<double>(below) >= wanted)
            return ValueOf(i);
    }
    return values_.greatest;
}

std::vector<std::int64_t> Histogram::Sections(const ValueRange& range, std::size_t count) const
{
    std::vector<std::int64_t> sections(count, 0);
    const double width =
        std::max(range.Span() / static_cast<double>(count), std::numeric_limits<double>::min());
    for (std::size_t i = 0; i < bins_.size(); ++i) {
        const double value = ValueOf(i);
        if (bins_[i] > 0 && value >= range.smallest && value <= range.greatest)
            sections[Index(value, range.smallest, width, count)] += bins_[i];
    }
    return sections;
}

} // namespace Mardu::Sentel::Tavlo::Client::View
