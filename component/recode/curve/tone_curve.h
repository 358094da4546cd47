#pragma once

#include "recode/pixels/value_range.h"

namespace Mardu::Sentel::Tavlo {

struct ToneParameters
{
    double contrast = 1.0;
    double brightness = 0.0;
    double gamma = 1.0;
    double sigma = 1.0;

    /// Exact comparisons: the smallest deviation takes the bent curve.
    bool IsLinear() const noexcept { return gamma == 1.0 && sigma == 1.0; }
};

/// The one transfer rule of all recoders: source units (0 to a span) to target values. It is described in
/// docs/recoding.md, "The tone curve"; the operations and their order are part of the results and never
/// change. Whoever computes it in another way, in vectors or for a measurement, is compared with this.
class ToneCurve
{
public:
    /// Where the bent curve leaves Dmin and reaches Dmax: exactly, or at whole source units,
    /// truncated toward zero, when the source is an index into a table.
    enum class Bounds
    {
        exact,
        whole
    };

    ToneCurve(const ToneParameters& parameters, double sourceSpan, const ValueRange& target,
              Bounds bounds) noexcept;

    bool IsLinear() const noexcept { return linear_; }

    /// What the formulas are made of, for loops that compute many values at a time.
    struct Constants
    {
        ValueRange target;
        double gamma;
        double sigma;
        double slope;
        double shift;
        double low;
        double high;
        double width;
        double middle;
    };
    const Constants& Values() const noexcept { return c_; }

    /// The target value, saturated to the target's range.
    double operator()(double source) const noexcept { return linear_ ? Linear(source) : Bent(source); }

    /// Only the linear case; inline, since it is the inner loop of every source without a table.
    double Linear(double source) const noexcept
    {
        return Saturated(source * c_.slope + c_.shift + c_.target.min);
    }

    /// Only the other case: an S between two bounds, followed by a power.
    double Bent(double source) const noexcept;

private:
    double Saturated(double value) const noexcept
    {
        // Written so that NaN becomes the lower end.
        return value >= c_.target.min ? (value < c_.target.max ? value : c_.target.max) : c_.target.min;
    }

    bool linear_;
    Constants c_;
};

} // namespace Mardu::Sentel::Tavlo
