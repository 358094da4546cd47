#pragma once

#include "client/view/bitmap.h"
#include "client/view/painter.h"
#include "client/view/region_selection.h"
#include "client/view/scene.h"
#include "client/view/screen_style.h"
#include "client/view/window.h"

#include <memory>

namespace Mardu::Sentel::Tavlo::Client::View {

/// The part of the window that shows the picture, and takes the mouse on it.
class PicturePane final : public Window
{
public:
    /// What the mouse acts on.
    struct Controls
    {
        Navigation& navigation;
        ToneControl& tone;
        RegionSelection& region;
    };

    PicturePane(HWND parent, Scene& scene, const ScreenStyle& style, Converter& converter,
                const Controls& controls);

    /// Takes in all of the image as it is now.
    void Repaint();
    /// Takes in these pixels of the image only, and draws the part of the window that shows them.
    void Repaint(const Rectangle& pixels);
    /// Draws marks and lists again, and takes in nothing.
    void Redraw() { InvalidateRect(Handle(), nullptr, FALSE); }

private:
    enum class Drag
    {
        None,
        Pan,
        Tone,
        Region,
    };

    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void OnSize(const Size& size);
    void OnButton(Drag drag, const Point& point);
    void OnMove(const Point& point);
    void EndDrag();
    void Paint();
    void DrawMarks(HDC dc) const;
    void DrawKeyList(HDC dc) const;
    RECT WindowRect(const Rectangle& pixels) const;

    Scene& scene_;
    const ScreenStyle& style_;
    Painter painter_;
    Controls controls_;
    std::unique_ptr<Bitmap> picture_;
    std::unique_ptr<Bitmap> marked_;
    Drag drag_ = Drag::None;
    Point dragStart_;
    Point dragLast_;
};

} // namespace Mardu::Sentel::Tavlo::Client::View
