#pragma once

#include "recode/pixels/geometry.h"
#include "recode/pixels/result.h"

#include "TavloLib.h"

#include <optional>

namespace Mardu::Sentel::Tavlo {

// Between the records of the interfaces and those of the platform-free converters.

inline TavloDescriptorData FromInterface(const ::TavloDescriptorData& data) noexcept
{
    return {data.Width,  data.Height,   data.Bits,    static_cast<std::int32_t>(data.Encoding),
            data.Offset, data.Stride_x, data.Stride_y};
}

/// A rectangle that may be left out.
class OptionalRect
{
public:
    explicit OptionalRect(const RECT* rect) noexcept
    {
        if (rect != nullptr)
            rect_ = PixelRect{rect->left, rect->top, rect->right, rect->bottom};
    }

    const PixelRect* get() const noexcept { return rect_ ? &*rect_ : nullptr; }

private:
    std::optional<PixelRect> rect_;
};

/// A point that may be left out.
class OptionalPoint
{
public:
    explicit OptionalPoint(const POINT* point) noexcept
    {
        if (point != nullptr)
            point_ = PixelPoint{point->x, point->y};
    }

    const PixelPoint* get() const noexcept { return point_ ? &*point_ : nullptr; }

private:
    std::optional<PixelPoint> point_;
};

inline HRESULT ToHResult(RecodeResult result) noexcept
{
    switch (result) {
    case RecodeResult::done:
        return S_OK;
    case RecodeResult::nullPointer:
        return E_POINTER;
    case RecodeResult::invalidArgument:
        return E_INVALIDARG;
    }
    return E_UNEXPECTED;
}

} // namespace Mardu::Sentel::Tavlo
