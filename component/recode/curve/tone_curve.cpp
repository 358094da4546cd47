#include "recode/curve/tone_curve.h"

#include <cmath>

namespace Mardu::Sentel::Tavlo {

ToneCurve::ToneCurve(const ToneParameters& p, double sourceSpan, const ValueRange& range,
                     Bounds bounds) noexcept
    : linear(p.IsLinear()),
      c{.target = range,
        .gamma = p.gamma,
        .sigma = p.sigma,
        .slope = range.span * p.contrast / sourceSpan,
        .shift = range.span * p.brightness,
        .low = -(p.brightness / p.contrast) * sourceSpan,
        .high = (1.0 - p.brightness) / p.contrast * sourceSpan,
        .width = 0.0,
        .middle = 0.0}
{
    // Whole numbers stay doubles: with a contrast near or at 0 they may be of any size,
    // infinite or NaN, which no integer is.
    if (bounds == Bounds::whole) {
        c.low = std::trunc(c.low);
        c.high = std::trunc(c.high);
    }
    c.width = c.high - c.low;
    c.middle = (c.low + c.high) / 2.0;
}

double ToneCurve::Bent(double source) const noexcept
{
    // The order of these tests decides what a negative contrast gives, where c.high < c.low,
    // and what no test admits: bounds or sources that are NaN.
    if (!(source >= c.low))
        return c.target.min;
    if (source >= c.high)
        return c.target.max;

    double t;
    if (source < c.middle)
        t = 0.5 * std::pow(2.0 / c.width * (source - c.low), c.sigma);
    else if (source >= c.middle)
        t = 1.0 - 0.5 * std::pow(2.0 / c.width * (c.high - source), c.sigma);
    else
        return c.target.min;
    return Saturated(c.target.min + c.target.span * std::pow(t, c.gamma));
}

} // namespace Mardu::Sentel::Tavlo
