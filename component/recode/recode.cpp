#include "recode/recode.h"

#include "recode/rewrite.h"
#include "recode/run_plan.h"

namespace Mardu::Sentel::Tavlo {
namespace {

Region RegionFor(const TavloDescriptorData& source, const PixelRect* rect, const PixelPoint* point) noexcept
{
    return Region(rect != nullptr ? *rect : WholeOf(source), point != nullptr ? *point : PixelPoint{});
}

} // namespace

RecodeResult Recode(const TavloDescriptorData& srcDescr, const std::uint8_t* src,
                    const TavloDescriptorData& dstDescr, std::uint8_t* dst, const PixelRect* srcRect,
                    const PixelPoint* dstPoint)
{
    // Why the copy did not come about does not matter; what follows decides the outcome.
    if (CopyRegion(srcDescr, src, dstDescr, dst, RegionFor(srcDescr, srcRect, dstPoint)) == CopyOutcome::done)
        return RecodeResult::done;
    RecoderPlan plan = MakeRecoder(srcDescr, dstDescr);
    return RunRecoder(plan, src, dst, srcRect, dstPoint);
}

RecodeResult Rewrite(const TavloDescriptorData& srcDescr, const std::uint8_t* src,
                     const TavloDescriptorData& dstDescr, std::uint8_t* dst, const PixelRect* srcRect,
                     const PixelPoint* dstPoint)
{
    return ResultOf(CopyRegion(srcDescr, src, dstDescr, dst, RegionFor(srcDescr, srcRect, dstPoint)));
}

RecodeResult Cast(const TavloDescriptorData& srcDescr, const std::uint8_t* src,
                  const TavloDescriptorData& dstDescr, std::uint8_t* dst, const PixelRect* srcRect,
                  const PixelPoint* dstPoint)
{
    RecoderPlan plan = MakeRecoder(srcDescr, dstDescr);
    return RunCast(plan, src, dst, srcRect, dstPoint);
}

} // namespace Mardu::Sentel::Tavlo
