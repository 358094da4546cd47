#include "recode/lut_recoder.h"

#include "recode/curve/default_arithmetic.h"
#include "recode/run_plan.h"

namespace Mardu::Sentel::Tavlo {

LUTRecoder::LUTRecoder(const TavloDescriptorData& source, const TavloDescriptorData& target)
    : plan_(MakeRecoder(source, target)), ramp_(dynamic_cast<recoder_to_color*>(plan_.recoder.get()))
{
}

RecodeResult LUTRecoder::Recode(const std::uint8_t* src, std::uint8_t* dst, const PixelRect* srcRect,
                                const PixelPoint* dstPoint)
{
    return RunRecoder(plan_, src, dst, srcRect, dstPoint);
}

RecodeResult LUTRecoder::Cast(const std::uint8_t* src, std::uint8_t* dst, const PixelRect* srcRect,
                              const PixelPoint* dstPoint)
{
    return RunCast(plan_, src, dst, srcRect, dstPoint);
}

PackedColor LUTRecoder::GetColor(double position) const
{
    return InDefaultArithmetic([&]() -> PackedColor {
        if (ramp_ != nullptr)
            return ramp_->ColorAt(position);
        const ToneCurve curve(plan_.recoder->Tone(), 1.0, value_range<double>, ToneCurve::Bounds::exact);
        return OpaqueGrey(Quantise<std::uint8_t>(curve(position) * 255.0));
    });
}

RecodeResult LUTRecoder::SetColor(double position, PackedColor color)
{
    if (ramp_ == nullptr || !ramp_->SetColor(position, color))
        return RecodeResult::invalidArgument;
    plan_.recoder->lutStale = true;
    return RecodeResult::done;
}

void LUTRecoder::ResetColorLUT()
{
    if (ramp_ == nullptr)
        return;
    ramp_->ResetColors();
    plan_.recoder->lutStale = true;
}

void LUTRecoder::Set(double& parameter, double value) noexcept
{
    if (value < parameter || value > parameter)
        plan_.recoder->lutStale = true;
    parameter = value;
}

} // namespace Mardu::Sentel::Tavlo
