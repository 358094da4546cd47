#pragma once

#include "client/view/bitmap.h"
#include "client/view/legend.h"
#include "client/view/scene.h"
#include "client/view/screen_style.h"
#include "client/view/tone_control.h"
#include "client/view/window.h"

#include <array>

namespace Mardu::Sentel::Tavlo::Client::View {

/// The bar beside the picture: the histogram in the colours that its values have, the
/// parameters, the ramps. Its window text is a line for each parameter.
class SidePanel final : public Window
{
public:
    SidePanel(HWND parent, Scene& scene, const ScreenStyle& style, ToneControl& tone);

    void Redraw() { InvalidateRect(Handle(), nullptr, FALSE); }

    static constexpr int width = 236;

private:
    struct Row
    {
        std::wstring name;
        std::wstring value;
    };

    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void OnClick(POINT point);
    void Paint();
    LONG DrawPlot(const Bitmap& bitmap, LONG top) const;
    void DrawHistogram(const Bitmap& bitmap, const RECT& plot, const ValueRange& range,
                       const std::vector<std::uint32_t>& colors) const;
    void DrawLevels(HDC dc, const RECT& plot, const ValueRange& range) const;
    void DrawRamps(const Bitmap& bitmap, LONG top);
    void DrawRows(HDC dc, LONG top);
    std::vector<Row> Rows() const;

    Scene& scene_;
    const ScreenStyle& style_;
    ToneControl& tone_;
    Legend legend_;
    std::vector<RECT> rampPlaces_;
    std::array<RECT, 2> stepPlaces_ = {}; ///< of gamma and sigma: less on the left half, more on the right
};

/// The values that a plot of a histogram has room for: all that the type holds, or those that
/// occur when they would hardly be seen among these.
ValueRange PlottedRange(const std::vector<Histogram>& histograms, const ValueRange& range) noexcept;

} // namespace Mardu::Sentel::Tavlo::Client::View
