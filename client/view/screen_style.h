#pragma once

#include "client/view/drawing.h"

#include <windows.h>

#include <cstdint>

namespace Mardu::Sentel::Tavlo::Client::View {

/// Colours 0x00RRGGBB.
namespace Color {
inline constexpr std::uint32_t panel = 0x171A20, line = 0x2B313B, text = 0xDCE1E8, dim = 0x8B95A3,
                               accent = 0x5AB0F0, warning = 0xFFC043, warningBack = 0x3B2A05, plot = 0x0E1014;
}

/// Sizes and fonts at a screen's resolution.
class ScreenStyle
{
public:
    explicit ScreenStyle(UINT dpi);

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

} // namespace Mardu::Sentel::Tavlo::Client::View
