#pragma once

#include "client/view/drawing.h"
#include "client/view/painter.h"

#include <windows.h>

namespace Mardu::Sentel::Tavlo::Client::View {

/// Pixels in memory that both this program and the platform draw into.
class Bitmap
{
public:
    explicit Bitmap(const Size& size);
    ~Bitmap();
    Bitmap(const Bitmap&) = delete;
    Bitmap& operator=(const Bitmap&) = delete;

    const Size& Extent() const noexcept { return size_; }
    Surface Pixels() const noexcept { return {pixels_, size_.width}; }

    /// For the platform's drawing. Before drawing here again without it, GdiFlush.
    HDC Dc() const noexcept { return dc_; }

    /// Copies a part to the same place of another.
    void CopyTo(HDC target, const RECT& part) const noexcept;

private:
    Size size_;
    HDC dc_ = nullptr;
    GdiObject bitmap_;
    HGDIOBJ before_ = nullptr;
    std::uint32_t* pixels_ = nullptr;
};

} // namespace Mardu::Sentel::Tavlo::Client::View
