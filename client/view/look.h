#pragma once

#include "client/view/area.h"

#include <windows.h>

#include <memory>
#include <string>

namespace Mardu::Sentel::Tavlo::Client::View {

struct ObjectDeleter
{
    using pointer = HGDIOBJ;
    void operator()(HGDIOBJ object) const noexcept { DeleteObject(object); }
};
using GdiObject = std::unique_ptr<void, ObjectDeleter>;

/// Colours 0x00RRGGBB.
namespace Color {
inline constexpr std::uint32_t panel = 0x171A20, line = 0x2B313B, text = 0xDCE1E8, dim = 0x8B95A3,
                               accent = 0x5AB0F0, warning = 0xFFC043, warningBack = 0x3B2A05, plot = 0x0E1014;
}

constexpr COLORREF ColorRef(std::uint32_t color) noexcept
{
    return RGB(color >> 16 & 0xFF, color >> 8 & 0xFF, color & 0xFF);
}

/// Sizes and fonts at a screen's resolution.
class Look
{
public:
    explicit Look(UINT dpi);

    /// A length given for 96 dots per inch.
    int Px(int length) const noexcept { return MulDiv(length, static_cast<int>(dpi_), 96); }
    double Scale() const noexcept { return dpi_ / 96.0; }

    HGDIOBJ Font() const noexcept { return font_.get(); }
    HGDIOBJ Bold() const noexcept { return bold_.get(); }

private:
    UINT dpi_;
    GdiObject font_;
    GdiObject bold_;
};

enum class Align
{
    Left,
    Right,
    Center,
};

/// One line of text in the middle of a rectangle's height; too long a text ends with dots.
void DrawLine(HDC dc, const std::wstring& text, const RECT& place, std::uint32_t color,
              Align align = Align::Left);

int WidthOf(HDC dc, const std::wstring& text) noexcept;

void FillBox(HDC dc, const RECT& place, std::uint32_t color) noexcept;
void FrameBox(HDC dc, const RECT& place, std::uint32_t color) noexcept;

} // namespace Mardu::Sentel::Tavlo::Client::View
