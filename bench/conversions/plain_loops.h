#pragma once

#include "recode/curve/tone_curve.h"
#include "recode/pixels/value_range.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

/// The plain loop of each family: what one writes first, with what does not change taken out of
/// the loop, left to the compiler. Each is a function of its own, so that it is compiled for any
/// table and any parameters.
namespace Bench::Plain {

using Mardu::Sentel::Tavlo::Quantise;
using Mardu::Sentel::Tavlo::ToneParameters;
using Mardu::Sentel::Tavlo::value_range;
using Mardu::Sentel::Tavlo::ValueRange;

/// ToneCurve once more, for one kind of source and target, as one writes it first.
class Curve
{
public:
    Curve(const ToneParameters& p, double span, const ValueRange& range, bool wholeBounds)
        : min_(range.min),
          max_(range.max),
          span_(range.span),
          slope_(range.span * p.contrast / span),
          shift_(range.span * p.brightness),
          low_(-(p.brightness / p.contrast) * span),
          high_((1.0 - p.brightness) / p.contrast * span),
          gamma_(p.gamma),
          sigma_(p.sigma)
    {
        if (wholeBounds) {
            low_ = std::trunc(low_);
            high_ = std::trunc(high_);
        }
        width_ = high_ - low_;
        middle_ = (low_ + high_) / 2.0;
    }

    double Linear(double u) const { return Saturated(u * slope_ + shift_ + min_); }

    double Bent(double u) const
    {
        if (!(u >= low_))
            return min_;
        if (u >= high_)
            return max_;
        const double t = u < middle_ ? 0.5 * std::pow(2.0 / width_ * (u - low_), sigma_)
                                     : 1.0 - 0.5 * std::pow(2.0 / width_ * (high_ - u), sigma_);
        return Saturated(min_ + span_ * std::pow(t, gamma_));
    }

private:
    double Saturated(double y) const { return y >= min_ ? (y < max_ ? y : max_) : min_; }

    double min_, max_, span_, slope_, shift_, low_, high_, gamma_, sigma_;
    double width_, middle_;
};

template <class D>
[[gnu::noinline]] void FillLinear(D* table, std::size_t count, const ToneParameters& tone)
{
    const Curve curve(tone, static_cast<double>(count - 1), value_range<D>, true);
    for (std::size_t i = 0; i < count; ++i)
        table[i] = Quantise<D>(curve.Linear(static_cast<double>(i)));
}

template <class D>
[[gnu::noinline]] void FillBent(D* table, std::size_t count, const ToneParameters& tone)
{
    const Curve curve(tone, static_cast<double>(count - 1), value_range<D>, true);
    for (std::size_t i = 0; i < count; ++i)
        table[i] = Quantise<D>(curve.Bent(static_cast<double>(i)));
}

template <class D>
std::vector<D> Table(std::size_t count, const ToneParameters& tone)
{
    std::vector<D> table(count);
    if (tone.IsLinear())
        FillLinear(table.data(), count, tone);
    else
        FillBent(table.data(), count, tone);
    return table;
}

template <class S, class D>
[[gnu::noinline]] void LookUp(const S* in, D* out, std::size_t count, const D* table, S mask)
{
    for (std::size_t i = 0; i < count; ++i)
        out[i] = table[in[i] & mask];
}

[[gnu::noinline]] inline void HighBytes(const std::uint16_t* in, std::uint8_t* out, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        out[i] = static_cast<std::uint8_t>(in[i] >> 8);
}

template <class S, class D>
[[gnu::noinline]] void ComputeLinear(const S* in, D* out, std::size_t count, const ToneParameters& tone)
{
    const Curve curve(tone, value_range<S>.span, value_range<D>, false);
    for (std::size_t i = 0; i < count; ++i)
        out[i] = Quantise<D>(curve.Linear(static_cast<double>(in[i]) - value_range<S>.min));
}

template <class S, class D>
[[gnu::noinline]] void ComputeBent(const S* in, D* out, std::size_t count, const ToneParameters& tone)
{
    const Curve curve(tone, value_range<S>.span, value_range<D>, false);
    for (std::size_t i = 0; i < count; ++i)
        out[i] = Quantise<D>(curve.Bent(static_cast<double>(in[i]) - value_range<S>.min));
}

/// Each element by its plain value.
template <class S, class D>
[[gnu::noinline]] void Convert(const S* in, D* out, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        out[i] = static_cast<D>(in[i]);
}

template <class D>
[[gnu::noinline]] void RgbToGrey(const std::uint8_t* in, D* out, std::size_t count, const D* table)
{
    for (std::size_t i = 0; i < count; ++i, in += 3)
        out[i] = table[(77 * in[0] + 150 * in[1] + 29 * in[2]) >> 8];
}

/// Red and blue exchanged, each through a table; alpha is kept, or 255 where the source has none.
template <std::size_t From, std::size_t To>
[[gnu::noinline]] void SwapColors(const std::uint8_t* in, std::uint8_t* out, std::size_t count,
                                  const std::uint8_t* table)
{
    for (std::size_t i = 0; i < count; ++i, in += From, out += To) {
        const std::uint8_t r = table[in[0]], g = table[in[1]], b = table[in[2]];
        if constexpr (To == 4)
            out[3] = From == 4 ? in[3] : 255;
        out[0] = b;
        out[1] = g;
        out[2] = r;
    }
}

/// Grey to colour through a table of packed colours.
template <class S, std::size_t To>
[[gnu::noinline]] void Colors(const S* in, std::uint8_t* out, std::size_t count, const std::uint32_t* table)
{
    for (std::size_t i = 0; i < count; ++i, out += To) {
        const std::uint32_t color = table[in[i]];
        std::memcpy(out, &color, To);
    }
}

[[gnu::noinline]] inline void CopyRows(const std::uint8_t* in, std::ptrdiff_t inStride, std::uint8_t* out,
                                       std::ptrdiff_t outStride, std::size_t rowBytes, std::size_t rows)
{
    for (std::size_t y = 0; y < rows; ++y, in += inStride, out += outStride)
        std::memcpy(out, in, rowBytes);
}

template <class Pixel>
[[gnu::noinline]] void MirrorRows(const Pixel* in, Pixel* out, std::size_t width, std::size_t height)
{
    for (std::size_t y = 0; y < height; ++y, in += width, out += width)
        for (std::size_t x = 0; x < width; ++x)
            out[width - 1 - x] = in[x];
}

template <class Pixel>
[[gnu::noinline]] void Transpose(const Pixel* in, Pixel* out, std::size_t width, std::size_t height)
{
    for (std::size_t y = 0; y < height; ++y)
        for (std::size_t x = 0; x < width; ++x)
            out[x * height + y] = in[y * width + x];
}

} // namespace Bench::Plain
