#include "client/view/status_line.h"

#include "client/foundation/utf16.h"
#include "client/view/bitmap.h"

namespace Mardu::Sentel::Tavlo::Client::View {

StatusLine::StatusLine(HWND parent, Scene& scene, const ScreenStyle& style) : scene_(scene), style_(style)
{
    Create(L"TavloStatusLine", L"", WS_CHILD | WS_VISIBLE, 0, parent);
}

std::vector<std::wstring> StatusLine::Parts() const
{
    std::vector<std::wstring> parts;
    const auto add = [&parts](const std::string& text) {
        if (!text.empty())
            parts.push_back(ToUtf16(text));
    };
    const std::string updates = UpdatesText(scene_.producer, scene_.updates.Count(),
                                            scene_.updates.PerSecond(std::chrono::steady_clock::now()));
    const bool isClosed = scene_.producer == Producer::Closed;
    if (isClosed)
        add(updates);
    if (const std::optional<Rectangle> region = scene_.Region())
        add("region " + RectangleText(*region));
    add(PixelText(scene_.probe, scene_.reader.Text(scene_.probe.x, scene_.probe.y)));
    add(GeometryText(scene_.descriptor));
    add(ScaleText(scene_.viewport.Scale()) + (scene_.viewport.IsFitted() ? " fit" : ""));
    if (!isClosed)
        add(updates);
    add(ChangeText(scene_.lastChange));
    return parts;
}

void StatusLine::Refresh()
{
    if (Parts() == shown_)
        return;
    InvalidateRect(Handle(), nullptr, FALSE);
    NotifyWinEvent(EVENT_OBJECT_NAMECHANGE, Handle(), OBJID_WINDOW, CHILDID_SELF);
}

void StatusLine::Paint()
{
    PAINTSTRUCT paint;
    const HDC dc = BeginPaint(Handle(), &paint);
    RECT inside;
    GetClientRect(Handle(), &inside);
    const Bitmap bitmap({inside.right, inside.bottom});
    const HDC memory = bitmap.Dc();
    const bool isWarning = scene_.producer == Producer::Closed;
    FillBox(memory, inside, isWarning ? Color::warningBack : Color::panel);
    FillBox(memory, {0, 0, inside.right, 1}, isWarning ? Color::warning : Color::line);

    shown_ = Parts();
    const HGDIOBJ font = SelectObject(memory, isWarning ? style_.Bold() : style_.Font());
    LONG x = style_.Px(12);
    for (std::size_t i = 0; i < shown_.size() && x < inside.right; ++i) {
        if (i > 0) {
            FillBox(memory, {x, style_.Px(8), x + 1, inside.bottom - style_.Px(7)}, Color::line);
            x += style_.Px(12);
        }
        const LONG width = TextWidth(memory, shown_[i]);
        const bool isFirst = i == 0;
        DrawTextLine(memory, shown_[i], {x, 1, std::min<LONG>(x + width + 1, inside.right), inside.bottom},
                     isWarning ? Color::warning
                     : isFirst ? Color::text
                               : Color::dim);
        // The value under the pointer changes all the time; what follows stays in its place.
        x += std::max<LONG>(width, isFirst ? style_.Px(150) : 0) + style_.Px(12);
    }
    SelectObject(memory, font);
    bitmap.CopyTo(dc, inside);
    EndPaint(Handle(), &paint);
}

LRESULT StatusLine::OnMessage(UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_PAINT:
        Paint();
        return 0;
    case WM_ERASEBKGND:
        return 1;
    case WM_GETTEXT:
    case WM_GETTEXTLENGTH: {
        std::wstring text;
        for (const std::wstring& part : Parts())
            text += (text.empty() ? L"" : L" | ") + part;
        return AnswerText(text, message, wParam, lParam);
    }
    default:
        return Default(message, wParam, lParam);
    }
}

} // namespace Mardu::Sentel::Tavlo::Client::View
