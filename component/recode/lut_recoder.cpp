#include "recode/lut_recoder.h"

#include "recode/run_plan.h"

namespace Mardu::Sentel::Tavlo {

LUTRecoder::LUTRecoder(const TavloDescriptorData& source, const TavloDescriptorData& target)
    : plan(MakeRecoder(source, target)), ramp(dynamic_cast<recoder_to_color*>(plan.recoder.get()))
{
}

RecodeResult LUTRecoder::Recode(const std::uint8_t* src, std::uint8_t* dst, const PixelRect* srcRect,
                                const PixelPoint* dstPoint)
{
    return RunRecoder(plan, src, dst, srcRect, dstPoint);
}

RecodeResult LUTRecoder::Cast(const std::uint8_t* src, std::uint8_t* dst, const PixelRect* srcRect,
                              const PixelPoint* dstPoint)
{
    return RunCast(plan, src, dst, srcRect, dstPoint);
}

PackedColor LUTRecoder::GetColor(double position) const
{
    if (ramp != nullptr)
        return ramp->ColorAt(position);
    const ToneCurve curve(plan.recoder->Tone(), 1.0, value_range<double>, ToneCurve::Bounds::exact);
    return OpaqueGrey(Quantise<std::uint8_t>(curve(position) * 255.0));
}

RecodeResult LUTRecoder::SetColor(double position, PackedColor color)
{
    if (ramp == nullptr || !ramp->SetColor(position, color))
        return RecodeResult::invalidArgument;
    plan.recoder->lutStale = true;
    return RecodeResult::done;
}

void LUTRecoder::ResetColorLUT()
{
    if (ramp == nullptr)
        return;
    ramp->ResetColors();
    plan.recoder->lutStale = true;
}

void LUTRecoder::Set(double& parameter, double value) noexcept
{
    if (value < parameter || value > parameter)
        plan.recoder->lutStale = true;
    parameter = value;
}

} // namespace Mardu::Sentel::Tavlo
