#include "client/view/painter.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <span>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

/// Samples converted at a time: few enough for a processor's cache.
constexpr std::int32_t mostSamples = 1 << 18;

void Fill(const Rectangle& part, const Surface& target)
{
    for (std::int32_t y = part.top; y < part.bottom; ++y)
        std::fill(target.Row(y) + part.left, target.Row(y) + std::max(part.left, part.right),
                  Painter::background);
}

/// What of part lies around the image.
void FillAround(const Rectangle& image, const Rectangle& part, const Surface& target)
{
    if (IsEmpty(image)) {
        Fill(part, target);
        return;
    }
    Fill({part.left, part.top, part.right, image.top}, target);
    Fill({part.left, image.bottom, part.right, part.bottom}, target);
    Fill({part.left, image.top, image.left, image.bottom}, target);
    Fill({image.right, image.top, part.right, image.bottom}, target);
}

/// Three channels side by side in one number, with room for the sum of eight samples.
constexpr int room = 21;

std::uint64_t Spread(std::uint32_t color) noexcept
{
    return std::uint64_t{color & 0xFF} | std::uint64_t{color >> 8 & 0xFF} << room |
           std::uint64_t{color >> 16 & 0xFF} << 2 * room;
}

/// The weighted sums of a row of samples for every window pixel.
void SumRow(const std::uint32_t* samples, std::span<const Share> shares, std::uint64_t* sums) noexcept
{
    for (std::size_t i = 0; i < shares.size(); ++i) {
        const Share& share = shares[i];
        const std::uint32_t* sample = samples + share.first;
        std::uint64_t sum = Spread(*sample) * share.firstWeight;
        if (share.count > 1) {
            std::uint64_t between = 0;
            const std::uint32_t* last = sample + share.count - 1;
            for (++sample; sample < last; ++sample)
                between += Spread(*sample);
            sum += between * 256 + Spread(*last) * share.lastWeight;
        }
        sums[i] = sum;
    }
}

void AddRow(std::span<const std::uint64_t> row, std::uint32_t weight, std::uint32_t* sums) noexcept
{
    constexpr std::uint64_t mask = (std::uint64_t{1} << room) - 1;
    for (std::size_t i = 0; i < row.size(); ++i) {
        sums[3 * i] += static_cast<std::uint32_t>(row[i] & mask) * weight;
        sums[3 * i + 1] += static_cast<std::uint32_t>(row[i] >> room & mask) * weight;
        sums[3 * i + 2] += static_cast<std::uint32_t>(row[i] >> 2 * room) * weight;
    }
}

/// Factors that divide by the weight of each window pixel of a row: (n * factor) >> shift is
/// exact for n below 2^30 with quotients below 2^9 and weights of up to 2^22.
constexpr int shift = 54;

using Factors = std::vector<std::uint64_t>;

Factors FactorsOf(std::span<const Share> columns, std::uint32_t rowTotal)
{
    Factors factors;
    factors.reserve(columns.size());
    for (const Share& column : columns) {
        const std::uint64_t total = std::uint64_t{column.total} * rowTotal;
        factors.push_back(((std::uint64_t{1} << shift) + total - 1) / total);
    }
    return factors;
}

/// Means, rounded to the nearest.
void WriteMeans(std::span<const std::uint32_t> sums, std::span<const Share> columns, std::uint32_t rowTotal,
                const Factors& factors, std::uint32_t* target) noexcept
{
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const std::uint32_t half = columns[i].total * rowTotal / 2;
        const auto mean = [&](std::size_t channel) {
            return static_cast<std::uint32_t>((sums[3 * i + channel] + half) * factors[i] >> shift);
        };
        target[i] = mean(0) | mean(1) << 8 | mean(2) << 16;
    }
}

std::int32_t End(const Share& share) noexcept
{
    return share.first + share.count;
}

} // namespace

void Painter::Paint(const Viewport& viewport, const Rectangle& part, const Surface& target)
{
    const Rectangle inside = Intersection(part, Whole(viewport.Window()));
    const Rectangle image = Intersection(viewport.Shown(), inside);
    FillAround(image, inside, target);
    if (!IsEmpty(image))
        PaintImage(viewport, image, target);
}

void Painter::PaintImage(const Viewport& viewport, const Rectangle& part, const Surface& target)
{
    const std::int32_t step = StepFor(viewport.Scale());
    const double scale = viewport.Scale() * step;
    const Size image = viewport.Image();
    const Axis x = {scale, viewport.Origin().x, SamplesOf(image.width, step)};
    const Axis y = {scale, viewport.Origin().y, SamplesOf(image.height, step)};
    const bool isReduced = scale < 1;
    columns_ = isReduced ? x.Area(part.left, part.right) : x.Nearest(part.left, part.right);
    rows_ = isReduced ? y.Area(part.top, part.bottom) : y.Nearest(part.top, part.bottom);

    const std::int32_t left = columns_.front().first;
    const std::int32_t right = End(columns_.back());
    for (Share& column : columns_)
        column.first -= left;
    // At least two, so that a single column of pixels is still walked row by row.
    const std::int32_t rowPixels = std::max(x.samples, 2);
    const std::int32_t mostRows = std::max(mostSamples / rowPixels, 16);

    for (std::size_t begin = 0; begin < rows_.size();) {
        std::size_t end = begin + 1;
        while (end < rows_.size() && End(rows_[end]) - rows_[begin].first <= mostRows)
            ++end;
        const std::int32_t top = rows_[begin].first;
        const std::int32_t bottom = End(rows_[end - 1]);
        samples_.resize(std::max(samples_.size(), static_cast<std::size_t>(rowPixels) *
                                                      static_cast<std::size_t>(bottom - top)));
        const Surface samples = {samples_.data(), rowPixels};
        converter_.Convert({left, top, right, bottom}, step, samples);

        const std::span<Share> rows = std::span(rows_).subspan(begin, end - begin);
        for (Share& row : rows)
            row.first -= top;
        const Surface out = {target.Row(part.top + static_cast<std::int32_t>(begin)) + part.left,
                             target.rowPixels};
        if (isReduced)
            PaintMeans(samples, rows, out);
        else
            PaintNearest(samples, rows, out);
        begin = end;
    }
}

void Painter::PaintNearest(const Surface& samples, std::span<const Share> rows, const Surface& target) const
{
    for (std::size_t i = 0; i < rows.size(); ++i) {
        std::uint32_t* out = target.Row(static_cast<std::int32_t>(i));
        if (i > 0 && rows[i].first == rows[i - 1].first) {
            std::memcpy(out, out - target.rowPixels, columns_.size() * sizeof *out);
            continue;
        }
        const std::uint32_t* source = samples.Row(rows[i].first);
        for (std::size_t column = 0; column < columns_.size(); ++column)
            out[column] = source[columns_[column].first];
    }
}

void Painter::PaintMeans(const Surface& samples, std::span<const Share> rows, const Surface& target)
{
    row_.resize(columns_.size());
    sums_.resize(3 * columns_.size());
    // Rounding makes few different weights of rows.
    std::map<std::uint32_t, Factors> factors;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const Share& row = rows[i];
        std::ranges::fill(sums_, 0u);
        for (std::int32_t at = 0; at < row.count; ++at) {
            SumRow(samples.Row(row.first + at), columns_, row_.data());
            const bool isLast = at > 0 && at == row.count - 1;
            AddRow(row_, at == 0 ? row.firstWeight : isLast ? row.lastWeight : 256, sums_.data());
        }
        Factors& ofRow = factors[row.total];
        if (ofRow.empty())
            ofRow = FactorsOf(columns_, row.total);
        WriteMeans(sums_, columns_, row.total, ofRow, target.Row(static_cast<std::int32_t>(i)));
    }
}

} // namespace Mardu::Sentel::Tavlo::Client::View
