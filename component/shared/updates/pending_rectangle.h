#pragma once

#include <windows.h>

#include <algorithm>

namespace Mardu::Sentel::Tavlo {

/// No pixel is inside.
constexpr bool IsEmpty(const RECT& rect) noexcept
{
    return rect.left == rect.right || rect.top == rect.bottom;
}

/// The pending rectangle with another one that became due: an empty one is replaced,
/// else the result is the smallest rectangle that holds both.
constexpr RECT Merge(const RECT& pending, const RECT& due) noexcept
{
    if (IsEmpty(pending))
        return due;
    return {std::min(pending.left, due.left), std::min(pending.top, due.top),
            std::max(pending.right, due.right), std::max(pending.bottom, due.bottom)};
}

} // namespace Mardu::Sentel::Tavlo
