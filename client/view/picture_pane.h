#pragma once

#include "client/view/bitmap.h"
#include "client/view/painter.h"
#include "client/view/scene.h"
#include "client/view/window.h"

#include <memory>

namespace Mardu::Sentel::Tavlo::Client::View {

/// What the mouse does to the picture.
class PictureActions
{
public:
    virtual void PointAt(const Point& point) = 0;
    virtual void PanBy(std::int32_t dx, std::int32_t dy) = 0;
    /// The way from where the right button was pressed, in window pixels.
    virtual void BeginTone() = 0;
    virtual void DragTone(std::int32_t dx, std::int32_t dy) = 0;
    virtual void BeginRegion(const Point& point) = 0;
    virtual void EndRegion() = 0;
    virtual void DropRegion() = 0;
    virtual void Fit() = 0;

protected:
    ~PictureActions() = default;
};

/// The part of the window that shows the picture.
class PicturePane final : public Window
{
public:
    PicturePane(HWND parent, Scene& scene, const Look*& look, Converter& converter, PictureActions& actions);

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
    const Look*& look_;
    Painter painter_;
    PictureActions& actions_;
    std::unique_ptr<Bitmap> picture_;
    std::unique_ptr<Bitmap> marked_;
    Drag drag_ = Drag::None;
    Point dragStart_;
    Point dragLast_;
};

} // namespace Mardu::Sentel::Tavlo::Client::View
