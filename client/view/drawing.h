#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <string>

namespace Mardu::Sentel::Tavlo::Client::View {

struct ObjectDeleter
{
    using pointer = HGDIOBJ;
    void operator()(HGDIOBJ object) const noexcept { DeleteObject(object); }
};
/// A font, bitmap or the like, which is deleted.
using GdiObject = std::unique_ptr<void, ObjectDeleter>;

// Colours are 0x00RRGGBB.

enum class Align
{
    Left,
    Right,
    Center,
};

/// One line of text in the middle of a rectangle's height; too long a text ends with dots.
void DrawTextLine(HDC dc, const std::wstring& text, const RECT& place, std::uint32_t color,
                  Align align = Align::Left);

int TextWidth(HDC dc, const std::wstring& text) noexcept;

void FillBox(HDC dc, const RECT& place, std::uint32_t color) noexcept;
void FrameBox(HDC dc, const RECT& place, std::uint32_t color) noexcept;

} // namespace Mardu::Sentel::Tavlo::Client::View
