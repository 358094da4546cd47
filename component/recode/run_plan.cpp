#include "recode/run_plan.h"

#include "recode/curve/default_arithmetic.h"
#include "recode/pixels/strided.h"
#include "recode/rewrite.h"

#include <optional>
#include <utility>

namespace Mardu::Sentel::Tavlo {
namespace {

/// The widths and heights of source and target.
struct Extents
{
    std::int64_t sourceWidth;
    std::int64_t sourceHeight;
    std::int64_t targetWidth;
    std::int64_t targetHeight;
};

Extents TurnedExtents(const recoder_base& recoder) noexcept
{
    return {recoder.src.Width, recoder.src.Height, recoder.dst.Width, recoder.dst.Height};
}

/// As the caller's descriptors had them.
Extents CallersExtents(const RecoderPlan& plan) noexcept
{
    Extents extents = TurnedExtents(*plan.recoder);
    if (plan.transpose) {
        std::swap(extents.sourceWidth, extents.sourceHeight);
        std::swap(extents.targetWidth, extents.targetHeight);
    }
    return extents;
}

/// What a call converts: its region as the caller gave it and as the recoder walks it.
struct Task
{
    Region given;
    Region turned;

    Task(const RecoderPlan& plan, const PixelRect* rect, const PixelPoint* point) noexcept
        : Task(plan, rect != nullptr ? *rect : plan.fullRect, point != nullptr ? *point : plan.origin)
    {
    }

private:
    Task(const RecoderPlan& plan, const PixelRect& rect, const PixelPoint& point) noexcept
        : given(rect, point), turned(MapRegion(plan, rect, point))
    {
    }
};

bool HasSamePixelType(const recoder_base& recoder) noexcept
{
    return recoder.src.Bits == recoder.dst.Bits && recoder.src.Encoding == recoder.dst.Encoding;
}

/// Sigma is not looked at, on purpose: equal types are copied whatever it is.
bool MayBeCopied(const recoder_base& recoder) noexcept
{
    return recoder.contrast == 1.0 && recoder.brightness == 0.0 && recoder.gamma == 1.0;
}

bool IsHighByteOfTarget(const recoder_base& recoder) noexcept
{
    return recoder.src.Bits == 16 && recoder.dst.Bits == 8 && recoder.src.Encoding == recoder.dst.Encoding;
}

/// Copies along the recoder's walk. A turned axis shows the copy its end as its beginning, which
/// is not checked there; so the end that the caller gave is checked here.
RecodeResult CopyTurned(const RecoderPlan& plan, const TavloDescriptorData& source, const std::uint8_t* src,
                        std::uint8_t* dst, const Task& task)
{
    const Extents extents = CallersExtents(plan);
    if (task.given.right > extents.sourceWidth || task.given.bottom > extents.sourceHeight)
        return ResultOf(CopyOutcome::invalidRectangle);
    return ResultOf(CopyRegion(source, src, plan.recoder->dst, dst, task.turned));
}

/// Copies the second byte of every little-endian 16-bit pixel.
RecodeResult CopyHighBytes(const RecoderPlan& plan, const std::uint8_t* src, std::uint8_t* dst,
                           const Task& task)
{
    TavloDescriptorData bytes = plan.recoder->src;
    bytes.Bits = 8;
    return CopyTurned(plan, bytes, src + 1, dst, task);
}

/// Left, top, x and y are not compared with 0: source and target may lie inside larger images.
bool EndsInside(const Region& r, const Extents& extents) noexcept
{
    return r.right <= extents.sourceWidth && r.bottom <= extents.sourceHeight &&
           r.x + r.Width() <= extents.targetWidth && r.y + r.Height() <= extents.targetHeight;
}

/// Turning an axis exchanges its beginning with its end. Both ends are looked at then, so
/// that what is refused does not depend on how the target lies in memory.
bool IsInside(const RecoderPlan& plan, const Task& task) noexcept
{
    return task.given.Width() >= 0 && task.given.Height() >= 0 &&
           EndsInside(task.given, CallersExtents(plan)) &&
           EndsInside(task.turned, TurnedExtents(*plan.recoder));
}

/// The first pixels and the extent that a recoder walks.
struct Walk
{
    const std::uint8_t* src;
    std::uint8_t* dst;
    std::uint64_t width;
    std::uint64_t height;
};

/// Nothing for a task that ends outside source or target, or before it begins.
std::optional<Walk> WalkOf(const RecoderPlan& plan, const std::uint8_t* src, std::uint8_t* dst,
                           const Task& task) noexcept
{
    if (!IsInside(plan, task))
        return std::nullopt;
    const Region& r = task.turned;
    return Walk{PixelAddress(src, plan.recoder->src, r.left, r.top),
                PixelAddress(dst, plan.recoder->dst, r.x, r.y), static_cast<std::uint64_t>(r.Width()),
                static_cast<std::uint64_t>(r.Height())};
}

} // namespace

Region MapRegion(const RecoderPlan& plan, const PixelRect& rect, const PixelPoint& point) noexcept
{
    const Extents extents = CallersExtents(plan);
    Region mapped(rect, point);
    if (plan.flipX) {
        mapped.left = extents.sourceWidth - rect.right;
        mapped.right = extents.sourceWidth - rect.left;
        mapped.x = extents.targetWidth - point.x - mapped.Width();
    }
    if (plan.flipY) {
        mapped.top = extents.sourceHeight - rect.bottom;
        mapped.bottom = extents.sourceHeight - rect.top;
        mapped.y = extents.targetHeight - point.y - mapped.Height();
    }
    if (plan.transpose) {
        std::swap(mapped.left, mapped.top);
        std::swap(mapped.right, mapped.bottom);
        std::swap(mapped.x, mapped.y);
    }
    return mapped;
}

RecodeResult RunRecoder(RecoderPlan& plan, const std::uint8_t* src, std::uint8_t* dst, const PixelRect* rect,
                        const PixelPoint* point)
{
    if (src == nullptr || dst == nullptr)
        return RecodeResult::nullPointer;
    const Task task(plan, rect, point);
    recoder_base& recoder = *plan.recoder;
    if (HasSamePixelType(recoder) && MayBeCopied(recoder))
        return CopyTurned(plan, recoder.src, src, dst, task);
    if (IsHighByteOfTarget(recoder) && MayBeCopied(recoder))
        return CopyHighBytes(plan, src, dst, task);

    const auto walk = WalkOf(plan, src, dst, task);
    if (!walk)
        return RecodeResult::invalidArgument;
    return InDefaultArithmetic([&] {
        if (recoder.lutStale) {
            recoder.UpdateLUT();
            recoder.lutStale = false;
        }
        return recoder.Recode(walk->src, walk->dst, walk->width, walk->height);
    });
}

RecodeResult RunCast(RecoderPlan& plan, const std::uint8_t* src, std::uint8_t* dst, const PixelRect* rect,
                     const PixelPoint* point)
{
    if (src == nullptr || dst == nullptr)
        return RecodeResult::nullPointer;
    const Task task(plan, rect, point);
    recoder_base& recoder = *plan.recoder;
    if (HasSamePixelType(recoder))
        return CopyTurned(plan, recoder.src, src, dst, task);
    const auto walk = WalkOf(plan, src, dst, task);
    if (!walk)
        return RecodeResult::invalidArgument;
    return InDefaultArithmetic([&] { return recoder.Cast(walk->src, walk->dst, walk->width, walk->height); });
}

} // namespace Mardu::Sentel::Tavlo
