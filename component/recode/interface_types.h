#pragma once

#include "recode/pixels/geometry.h"
#include "recode/pixels/result.h"

#include "TavloLib.h"

#include <oleauto.h>

#include <optional>
#include <utility>

namespace Mardu::Sentel::Tavlo {

// Between the records of the interfaces and those of the platform-free converters.

inline TavloDescriptorData FromInterface(const ::TavloDescriptorData& data) noexcept
{
    return {data.Width,  data.Height,   data.Bits,    static_cast<std::int32_t>(data.Encoding),
            data.Offset, data.Stride_x, data.Stride_y};
}

inline PixelRect FromInterface(const RECT& rect) noexcept
{
    return {rect.left, rect.top, rect.right, rect.bottom};
}

inline PixelPoint FromInterface(const POINT& point) noexcept
{
    return {point.x, point.y};
}

/// A rectangle or a point that a caller may leave out.
template <class Record>
class Optional
{
public:
    explicit Optional(const Record* record) noexcept
    {
        if (record != nullptr)
            value_ = FromInterface(*record);
    }

    /// Null where it was left out.
    auto get() const noexcept { return value_ ? &*value_ : nullptr; }

private:
    std::optional<decltype(FromInterface(std::declval<const Record&>()))> value_;
};

using OptionalRect = Optional<RECT>;
using OptionalPoint = Optional<POINT>;

/// The refusal of an argument goes without a text: also without that of an earlier failure.
inline HRESULT ToHResult(RecodeResult result) noexcept
{
    switch (result) {
    case RecodeResult::done:
        return S_OK;
    case RecodeResult::nullPointer:
        return E_POINTER;
    case RecodeResult::invalidArgument:
        SetErrorInfo(0, nullptr);
        return E_INVALIDARG;
    }
    return E_UNEXPECTED;
}

} // namespace Mardu::Sentel::Tavlo
