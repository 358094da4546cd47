#include "recode/recoder_plan.h"

#include "image/encoding.h"
#include "image/wrapping.h"
#include "recode/curve/default_arithmetic.h"
#include "recode/recoders/recoder_table.h"

#include <stdexcept>
#include <string>
#include <utility>

namespace Mardu::Sentel::Tavlo {
namespace {

/// Three channels in four bytes are read and written as three bytes.
void IgnoreFourthByte(TavloDescriptorData& d) noexcept
{
    if ((d.Encoding == Tavlo_RGB || d.Encoding == Tavlo_BGR) && d.Bits == 32)
        d.Bits = 24;
}

/// Starts at the other end of an axis and walks back.
void Flip(std::int32_t& offset, std::int32_t extent, std::int32_t& stride) noexcept
{
    offset = WrappingAdd(offset, WrappingMultiply(WrappingSubtract(extent, 1), stride));
    stride = WrappingSubtract(0, stride);
}

std::string NameOf(const TavloDescriptorData& d)
{
    return std::string(EncodingName(d.Encoding)) + "(" + std::to_string(d.Bits) + ")";
}

} // namespace

void NormaliseViews(TavloDescriptorData& src, TavloDescriptorData& dst, bool& flipX, bool& flipY,
                    bool& transpose) noexcept
{
    flipX = dst.Stride_x < 0;
    if (flipX)
        for (TavloDescriptorData* d : {&src, &dst})
            Flip(d->Offset, d->Width, d->Stride_x);

    flipY = dst.Stride_y < 0;
    if (flipY)
        for (TavloDescriptorData* d : {&src, &dst})
            Flip(d->Offset, d->Height, d->Stride_y);

    transpose = dst.Stride_y < dst.Stride_x;
    if (transpose)
        for (TavloDescriptorData* d : {&src, &dst}) {
            std::swap(d->Width, d->Height);
            std::swap(d->Stride_x, d->Stride_y);
        }
}

RecoderPlan MakeRecoder(const TavloDescriptorData& srcDescriptor, const TavloDescriptorData& dstDescriptor)
{
    TavloDescriptorData src = srcDescriptor;
    TavloDescriptorData dst = dstDescriptor;
    IgnoreFourthByte(src);
    IgnoreFourthByte(dst);

    RecoderPlan plan;
    plan.fullRect = WholeOf(srcDescriptor);
    NormaliseViews(src, dst, plan.flipX, plan.flipY, plan.transpose);

    const RecoderMaker make = FindRecoder(src, dst);
    if (make == nullptr)
        throw std::runtime_error("No recoder implemented from " + NameOf(src) + " to " + NameOf(dst));
    plan.recoder = InDefaultArithmetic([&] { return make(src, dst); });
    return plan;
}

} // namespace Mardu::Sentel::Tavlo
