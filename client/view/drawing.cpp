#include "client/view/drawing.h"

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

constexpr COLORREF ColorRef(std::uint32_t color) noexcept
{
    return RGB(color >> 16 & 0xFF, color >> 8 & 0xFF, color & 0xFF);
}

} // namespace

void DrawTextLine(HDC dc, const std::wstring& text, const RECT& place, std::uint32_t color, Align align)
{
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, ColorRef(color));
    RECT line = place;
    const UINT side = align == Align::Left ? DT_LEFT : align == Align::Right ? DT_RIGHT : DT_CENTER;
    DrawTextW(dc, text.c_str(), static_cast<int>(text.size()), &line,
              side | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX | DT_END_ELLIPSIS);
}

int TextWidth(HDC dc, const std::wstring& text) noexcept
{
    SIZE size = {};
    GetTextExtentPoint32W(dc, text.c_str(), static_cast<int>(text.size()), &size);
    return size.cx;
}

void FillBox(HDC dc, const RECT& place, std::uint32_t color) noexcept
{
    SetDCBrushColor(dc, ColorRef(color));
    FillRect(dc, &place, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
}

void FrameBox(HDC dc, const RECT& place, std::uint32_t color) noexcept
{
    SetDCBrushColor(dc, ColorRef(color));
    FrameRect(dc, &place, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
}

} // namespace Mardu::Sentel::Tavlo::Client::View
