#include "client/view/picture_pane.h"

#include "client/foundation/utf16.h"
#include "client/view/keys.h"

#include <windowsx.h>

#include <algorithm>
#include <utility>

namespace Mardu::Sentel::Tavlo::Client::View {

PicturePane::PicturePane(HWND parent, Scene& scene, const ScreenStyle& style, Converter& converter,
                         const Controls& controls)
    : scene_(scene), style_(style), painter_(converter), controls_(controls)
{
    Create(L"TavloPicture", L"", WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS, 0, parent);
    SetClassLongPtrW(Handle(), GCLP_HCURSOR, reinterpret_cast<LONG_PTR>(LoadCursorW(nullptr, IDC_CROSS)));
}

void PicturePane::Repaint()
{
    if (!picture_)
        return;
    GdiFlush();
    painter_.Paint(scene_.viewport, Whole(picture_->Extent()), picture_->Pixels());
    Redraw();
}

void PicturePane::Repaint(const Rectangle& pixels)
{
    if (!picture_)
        return;
    const Rectangle part = Intersection(scene_.viewport.Affected(pixels), Whole(picture_->Extent()));
    if (IsEmpty(part))
        return;
    GdiFlush();
    painter_.Paint(scene_.viewport, part, picture_->Pixels());
    const RECT place = {part.left, part.top, part.right, part.bottom};
    InvalidateRect(Handle(), &place, FALSE);
}

void PicturePane::OnSize(const Size& size)
{
    scene_.viewport.Resize(size);
    picture_ = std::make_unique<Bitmap>(size);
    marked_.reset();
    Repaint();
}

RECT PicturePane::WindowRect(const Rectangle& pixels) const
{
    const Rectangle place = scene_.viewport.ToWindow(pixels);
    return {place.left, place.top, place.right, place.bottom};
}

void PicturePane::DrawMarks(HDC dc) const
{
    if (const std::optional<Rectangle> region = scene_.Region()) {
        RECT outline = WindowRect(*region);
        FrameBox(dc, outline, Color::accent);
        InflateRect(&outline, 1, 1);
        FrameBox(dc, outline, Painter::background);
    }
    if (scene_.isProbeMarked) {
        const auto [x, y] = scene_.probe;
        RECT pixel = WindowRect({x, y, x + 1, y + 1});
        InflateRect(&pixel, 1, 1);
        const LONG middleX = (pixel.left + pixel.right) / 2;
        const LONG middleY = (pixel.top + pixel.bottom) / 2;
        const LONG arm = style_.Px(8);
        for (const LONG wide : {1, 0}) {
            const std::uint32_t color = wide != 0 ? Painter::background : Color::accent;
            FillBox(dc, {middleX - wide, pixel.top - arm, middleX + 1 + wide, pixel.top}, color);
            FillBox(dc, {middleX - wide, pixel.bottom, middleX + 1 + wide, pixel.bottom + arm}, color);
            FillBox(dc, {pixel.left - arm, middleY - wide, pixel.left, middleY + 1 + wide}, color);
            FillBox(dc, {pixel.right, middleY - wide, pixel.right + arm, middleY + 1 + wide}, color);
        }
        FrameBox(dc, pixel, Color::accent);
    }
}

void PicturePane::DrawKeyList(HDC dc) const
{
    const auto lines = KeyLines();
    const LONG row = style_.Px(21);
    const LONG edge = style_.Px(20);
    const LONG keys = style_.Px(210);
    const Size window = scene_.viewport.Window();
    // What is left for the effects; in a narrow window the mouse goes first.
    LONG mouse = style_.Px(170);
    if (window.width < keys + mouse + style_.Px(330) + 2 * edge)
        mouse = 0;
    const LONG effect = std::min<LONG>(style_.Px(330), window.width - keys - mouse - 2 * edge);
    const LONG width = keys + mouse + effect + 2 * edge;
    const LONG height = row * static_cast<LONG>(lines.size() + 1) + row / 2 + 2 * edge;
    const LONG left = std::max<LONG>((window.width - width) / 2, 0);
    LONG y = std::max<LONG>((window.height - height) / 2, 0);
    FillBox(dc, {left, y, left + width, y + height}, Color::panel);
    FrameBox(dc, {left, y, left + width, y + height}, Color::accent);
    const LONG x = left + edge;
    y += edge;
    const HGDIOBJ before = SelectObject(dc, style_.Bold());
    DrawTextLine(dc, L"Keys", {x, y, x + keys, y + row}, Color::text);
    DrawTextLine(dc, L"Mouse", {x + keys, y, x + keys + mouse, y + row}, Color::text);
    SelectObject(dc, style_.Font());
    y += row * 3 / 2;
    for (const KeyLine& line : lines) {
        DrawTextLine(dc, ToUtf16(line.keys), {x, y, x + keys, y + row}, Color::accent);
        DrawTextLine(dc, ToUtf16(line.mouse), {x + keys, y, x + keys + mouse, y + row}, Color::dim);
        DrawTextLine(dc, ToUtf16(line.effect), {x + keys + mouse, y, x + keys + mouse + effect, y + row},
                     Color::text);
        y += row;
    }
    SelectObject(dc, before);
}

void PicturePane::Paint()
{
    PAINTSTRUCT paint;
    const HDC dc = BeginPaint(Handle(), &paint);
    const bool hasMarks = scene_.regionStart || scene_.isProbeMarked || scene_.hasKeyList;
    if (picture_ && !hasMarks) {
        picture_->CopyTo(dc, paint.rcPaint);
    } else if (picture_) {
        // Marks are drawn beside the screen, so that they do not flicker.
        if (!marked_)
            marked_ = std::make_unique<Bitmap>(picture_->Extent());
        picture_->CopyTo(marked_->Dc(), {0, 0, picture_->Extent().width, picture_->Extent().height});
        DrawMarks(marked_->Dc());
        if (scene_.hasKeyList)
            DrawKeyList(marked_->Dc());
        marked_->CopyTo(dc, paint.rcPaint);
    }
    EndPaint(Handle(), &paint);
}

void PicturePane::OnButton(Drag drag, const Point& point)
{
    EndDrag();
    drag_ = drag;
    dragStart_ = dragLast_ = point;
    SetCapture(Handle());
    if (drag == Drag::Tone)
        controls_.tone.BeginDrag();
    if (drag == Drag::Region)
        controls_.region.Begin(point);
}

void PicturePane::OnMove(const Point& point)
{
    // The system repeats the last move when windows change, which is no move.
    if (point == dragLast_ && drag_ != Drag::None)
        return;
    if (drag_ == Drag::Pan)
        controls_.navigation.PanBy(point.x - dragLast_.x, point.y - dragLast_.y);
    if (drag_ == Drag::Tone)
        controls_.tone.Drag((point.x - dragStart_.x) / style_.Scale(),
                            (point.y - dragStart_.y) / style_.Scale());
    else
        controls_.navigation.PointAt(point);
    dragLast_ = point;
}

void PicturePane::EndDrag()
{
    const Drag ended = std::exchange(drag_, Drag::None);
    if (ended == Drag::None)
        return;
    ReleaseCapture();
    if (ended == Drag::Region)
        controls_.region.End();
}

LRESULT PicturePane::OnMessage(UINT message, WPARAM wParam, LPARAM lParam)
{
    const Point point = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
    switch (message) {
    case WM_PAINT:
        Paint();
        return 0;
    case WM_ERASEBKGND:
        return 1;
    case WM_SIZE:
        OnSize({LOWORD(lParam), HIWORD(lParam)});
        return 0;
    case WM_LBUTTONDOWN:
        OnButton((wParam & MK_SHIFT) != 0 ? Drag::Region : Drag::Pan, point);
        return 0;
    case WM_LBUTTONDBLCLK:
        controls_.navigation.Fit();
        return 0;
    case WM_RBUTTONDOWN:
    case WM_RBUTTONDBLCLK:
        OnButton(Drag::Tone, point);
        return 0;
    case WM_MOUSEMOVE:
        OnMove(point);
        return 0;
    case WM_LBUTTONUP:
    case WM_RBUTTONUP:
        EndDrag();
        return 0;
    case WM_CAPTURECHANGED:
        if (std::exchange(drag_, Drag::None) == Drag::Region)
            controls_.region.Drop();
        return 0;
    case WM_GETTEXT:
    case WM_GETTEXTLENGTH: {
        std::wstring text;
        if (scene_.hasKeyList) {
            for (const KeyLine& line : KeyLines())
                text += ToUtf16(line.keys) + L": " + ToUtf16(line.effect) + L"\n";
        }
        return AnswerText(text, message, wParam, lParam);
    }
    default:
        return Default(message, wParam, lParam);
    }
}

} // namespace Mardu::Sentel::Tavlo::Client::View
