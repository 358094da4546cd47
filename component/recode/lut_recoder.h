#pragma once

#include "recode/curve/color_ramp.h"
#include "recode/pixels/result.h"
#include "recode/recoder_plan.h"

namespace Mardu::Sentel::Tavlo {

/// A long-lived converter for one pair of descriptors, whose tone parameters and colour ramp
/// change between calls. A table is refilled by the first conversion after a change. One
/// thread at a time.
class LUTRecoder
{
public:
    /// std::runtime_error for a pair without a recoder.
    LUTRecoder(const TavloDescriptorData& source, const TavloDescriptorData& target);

    RecodeResult Recode(const std::uint8_t* src, std::uint8_t* dst, const PixelRect* srcRect = nullptr,
                        const PixelPoint* dstPoint = nullptr);
    RecodeResult Cast(const std::uint8_t* src, std::uint8_t* dst, const PixelRect* srcRect = nullptr,
                      const PixelPoint* dstPoint = nullptr);

    double GetContrast() const noexcept { return plan_.recoder->contrast; }
    double GetBrightness() const noexcept { return plan_.recoder->brightness; }
    double GetGamma() const noexcept { return plan_.recoder->gamma; }
    double GetSigma() const noexcept { return plan_.recoder->sigma; }

    // Any value is taken. Only a value above or below the old one makes the table stale: an
    // equal one does not, nor does NaN.
    void SetContrast(double c) noexcept { Set(plan_.recoder->contrast, c); }
    void SetBrightness(double b) noexcept { Set(plan_.recoder->brightness, b); }
    void SetGamma(double g) noexcept { Set(plan_.recoder->gamma, g); }
    void SetSigma(double s) noexcept { Set(plan_.recoder->sigma, s); }

    /// The colour of the ramp at a position, without the tone curve; for recoders without a
    /// ramp the opaque grey that the tone curve gives there.
    PackedColor GetColor(double position) const;

    /// Sets a control point of the ramp; invalidArgument without a ramp and for NaN.
    RecodeResult SetColor(double position, PackedColor color);

    /// The default ramp, where there is one.
    void ResetColorLUT();

    /// The next Recode refills the table.
    bool IsStale() const noexcept { return plan_.recoder->lutStale; }

private:
    void Set(double& parameter, double value) noexcept;

    RecoderPlan plan_;
    recoder_to_color* ramp_; ///< the plan's recoder, if it turns grey into colour
};

} // namespace Mardu::Sentel::Tavlo
