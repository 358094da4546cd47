#include "recode/tone_curve.h"

#include <cmath>

namespace Mardu::Sentel::Tavlo {

ToneCurve::ToneCurve(const ToneParameters& p, double sourceSpan, const ValueRange& range,
                     Bounds bounds) noexcept
    : target(range),
      linear(p.IsLinear()),
      gamma(p.gamma),
      sigma(p.sigma),
      slope(range.span * p.contrast / sourceSpan),
      shift(range.span * p.brightness),
      low(-(p.brightness / p.contrast) * sourceSpan),
      high((1.0 - p.brightness) / p.contrast * sourceSpan)
{
    // Whole numbers stay doubles: with a contrast near or at 0 they may be of any size,
    // infinite or NaN, which no integer is.
    if (bounds == Bounds::whole) {
        low = std::trunc(low);
        high = std::trunc(high);
    }
    width = high - low;
    middle = (low + high) / 2.0;
}

double ToneCurve::Bent(double source) const noexcept
{
    // The order of these tests decides what a negative contrast gives, where high < low,
    // and what no test admits: bounds or sources that are NaN.
    if (!(source >= low))
        return target.min;
    if (source >= high)
        return target.max;

    double t;
    if (source < middle)
        t = 0.5 * std::pow(2.0 / width * (source - low), sigma);
    else if (source >= middle)
        t = 1.0 - 0.5 * std::pow(2.0 / width * (high - source), sigma);
    else
        return target.min;
    return Saturated(target.min + target.span * std::pow(t, gamma));
}

} // namespace Mardu::Sentel::Tavlo
