#include "recode/curve/tone_curve.h"

#include <cmath>

namespace Mardu::Sentel::Tavlo {

ToneCurve::ToneCurve(const ToneParameters& p, double sourceSpan, const ValueRange& range,
                     Bounds bounds) noexcept
    : linear_(p.IsLinear()),
      c_{.target = range,
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
        c_.low = std::trunc(c_.low);
        c_.high = std::trunc(c_.high);
    }
    c_.width = c_.high - c_.low;
    c_.middle = (c_.low + c_.high) / 2.0;
}

double ToneCurve::Bent(double source) const noexcept
{
    // The order of these tests decides what a negative contrast gives, where high is below low,
    // and what no test admits: bounds or sources that are NaN.
    if (!(source >= c_.low))
        return c_.target.min;
    if (source >= c_.high)
        return c_.target.max;

    double t;
    if (source < c_.middle)
        t = 0.5 * std::pow(2.0 / c_.width * (source - c_.low), c_.sigma);
    else if (source >= c_.middle)
        t = 1.0 - 0.5 * std::pow(2.0 / c_.width * (c_.high - source), c_.sigma);
    else
        return c_.target.min;
    return Saturated(c_.target.min + c_.target.span * std::pow(t, c_.gamma));
}

} // namespace Mardu::Sentel::Tavlo
