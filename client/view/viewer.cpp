#include "client/view/viewer.h"

#include "client/failure.h"
#include "client/view/messages.h"

#include <dwmapi.h>
#include <windowsx.h>

#include <algorithm>
#include <utility>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr UINT_PTR timer = 1;
constexpr auto tick = 100ms;
/// A stream of updates has come to rest when none came for so long.
constexpr auto rest = 1200ms;

/// While updates come, the histogram follows more slowly than the picture.
constexpr auto measurePause = 400ms;

constexpr Size firstSize = {1100, 720};

constexpr DWORD framed = WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN;

/// Not in older headers; where the platform does not know it, frames stay light.
constexpr DWORD useDarkFrame = 20;

bool IsBlank(const std::vector<Histogram>& histograms) noexcept
{
    return std::ranges::all_of(histograms, [](const Histogram& one) { return one.Values().Span() == 0; });
}

} // namespace

Viewer::Viewer(Source source, const ViewOptions& options)
    : source_(std::move(source)),
      scene_(source_.descriptor, source_.reader->Base()),
      converter_(source_.descriptor, source_.reader->Base())
{
    scene_.ramp = HasRamp(scene_.route) ? options.ramp : 0;
    scene_.producer = source_.isShared ? Producer::Alive : Producer::None;
    scene_.probe = {source_.descriptor.width / 2, source_.descriptor.height / 2};

    // What changes from here on is told; what has changed before is seen below.
    if (source_.isShared) {
        *listener_.ReleaseAndGetAddressOf() = new UpdateListener;
        Check(source_.image.get()->Subscribe(listener_.Get(), Tavlo_Asynchronous), "subscribe to the image");
    }
    MeasureValues();
    isFirstLookDue_ = IsBlank(scene_.histograms);
    scene_.levels = FirstLevels(scene_.histograms, scene_.range);
    converter_.Render(RenderingOf(scene_));

    Window::Create(L"TavloViewer", source_.title + L" - Tavlo", framed, 0, nullptr);
    OpenWindow(options);
    if (source_.isShared) {
        listener_->Tell(Handle());
        watch_.emplace(*source_.image.get(), *listener_.Get(), source_.process, Handle());
    }
}

Viewer::~Viewer()
{
    if (listener_)
        listener_->Tell(nullptr);
}

void Viewer::OpenWindow(const ViewOptions& options)
{
    const BOOL isDark = TRUE;
    DwmSetWindowAttribute(Handle(), useDarkFrame, &isDark, sizeof isDark);
    const UINT dpi = GetDpiForWindow(Handle());
    ownLook_.emplace(dpi);
    look_ = &*ownLook_;
    pane_.emplace(Handle(), scene_, look_, converter_, static_cast<PictureActions&>(*this));
    panel_.emplace(Handle(), scene_, look_, static_cast<PanelActions&>(*this));
    status_.emplace(Handle(), scene_, look_);

    const Size inside = options.size.value_or(firstSize);
    RECT frame = {0, 0, look_->Px(inside.width), look_->Px(inside.height)};
    AdjustWindowRectExForDpi(&frame, framed, FALSE, 0, dpi);
    MONITORINFO monitor = {};
    monitor.cbSize = sizeof monitor;
    GetMonitorInfoW(MonitorFromWindow(Handle(), MONITOR_DEFAULTTONEAREST), &monitor);
    const LONG width = std::min(frame.right - frame.left, monitor.rcWork.right - monitor.rcWork.left);
    const LONG height = std::min(frame.bottom - frame.top, monitor.rcWork.bottom - monitor.rcWork.top);
    const LONG left = monitor.rcWork.left + (monitor.rcWork.right - monitor.rcWork.left - width) / 2;
    const LONG top = monitor.rcWork.top + (monitor.rcWork.bottom - monitor.rcWork.top - height) / 2;
    SetWindowPos(Handle(), nullptr, left, top, width, height, SWP_NOZORDER);
    ShowWindow(Handle(), SW_SHOWNORMAL);
    SetForegroundWindow(Handle());
}

void Viewer::Layout()
{
    RECT area;
    GetClientRect(Handle(), &area);
    const LONG lineHeight = look_->Px(StatusLine::height);
    const LONG panelWidth = hasPanel_ ? look_->Px(SidePanel::width) : 0;
    const LONG height = std::max<LONG>(area.bottom - lineHeight, 0);
    const LONG width = std::max<LONG>(area.right - panelWidth, 0);
    MoveWindow(pane_->Handle(), 0, 0, width, height, TRUE);
    MoveWindow(panel_->Handle(), width, 0, panelWidth, height, TRUE);
    MoveWindow(status_->Handle(), 0, height, area.right, lineHeight, TRUE);
}

// Looking

void Viewer::ViewChanged()
{
    pane_->Repaint();
    status_->Refresh();
}

void Viewer::PointAt(const Point& point)
{
    const bool wasMarked = std::exchange(scene_.isProbeMarked, false);
    if (scene_.regionStart || scene_.viewport.IsOnImage(point))
        scene_.probe = scene_.viewport.PixelAt(point);
    if (wasMarked || scene_.regionStart)
        pane_->Redraw();
    status_->Refresh();
}

void Viewer::PanBy(std::int32_t dx, std::int32_t dy)
{
    scene_.viewport.Pan(dx, dy);
    ViewChanged();
}

void Viewer::Fit()
{
    scene_.viewport.Fit();
    ViewChanged();
}

void Viewer::Zoom(int steps, const Point& at)
{
    scene_.viewport.Zoom(steps, at);
    ViewChanged();
}

/// Where the window shows the probe; its middle when it does not.
Point Viewer::ProbePoint() const
{
    const auto [x, y] = scene_.probe;
    const Rectangle place = scene_.viewport.ToWindow({x, y, x + 1, y + 1});
    if (IsEmpty(place))
        return scene_.viewport.Middle();
    return {(place.left + place.right) / 2, (place.top + place.bottom) / 2};
}

void Viewer::MoveProbe(std::int32_t dx, std::int32_t dy)
{
    const auto [width, height] = scene_.viewport.Image();
    scene_.probe = {std::clamp(scene_.probe.x + dx, 0, width - 1),
                    std::clamp(scene_.probe.y + dy, 0, height - 1)};
    scene_.isProbeMarked = true;
    const Point before = scene_.viewport.Origin();
    scene_.viewport.Reveal(scene_.probe);
    if (scene_.viewport.Origin() == before)
        pane_->Redraw();
    else
        pane_->Repaint();
    status_->Refresh();
}

void Viewer::OnWheel(WPARAM wParam, LPARAM lParam)
{
    wheelRest_ += GET_WHEEL_DELTA_WPARAM(wParam);
    const int steps = wheelRest_ / WHEEL_DELTA;
    wheelRest_ -= steps * WHEEL_DELTA;
    POINT pointer = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
    ScreenToClient(pane_->Handle(), &pointer);
    const Size window = scene_.viewport.Window();
    const bool isInside =
        pointer.x >= 0 && pointer.y >= 0 && pointer.x < window.width && pointer.y < window.height;
    if (steps != 0)
        Zoom(steps, isInside ? Point{pointer.x, pointer.y} : scene_.viewport.Middle());
}

// Tone

void Viewer::ToneChanged()
{
    isFirstLookDue_ = false;
    converter_.Render(RenderingOf(scene_));
    pane_->Repaint();
    panel_->Redraw();
    status_->Refresh();
}

void Viewer::BeginTone()
{
    dragStart_ = scene_.levels;
}

void Viewer::DragTone(std::int32_t dx, std::int32_t dy)
{
    scene_.isFollowing = false;
    scene_.levels = Dragged(dragStart_, dx / look_->Scale(), dy / look_->Scale(), scene_.range);
    ToneChanged();
}

void Viewer::BeginRegion(const Point& point)
{
    scene_.probe = scene_.viewport.PixelAt(point);
    scene_.regionStart = scene_.probe;
    pane_->Redraw();
}

void Viewer::EndRegion()
{
    const std::optional<Rectangle> region = scene_.Region();
    if (!region)
        return;
    scene_.regionStart.reset();
    scene_.isFollowing = false;
    scene_.levels = AutomaticLevels(HistogramsOf(*region), scene_.range);
    ToneChanged();
}

void Viewer::DropRegion()
{
    scene_.regionStart.reset();
    pane_->Redraw();
    status_->Refresh();
}

void Viewer::ChooseRamp(std::size_t ramp)
{
    if (!HasRamp(scene_.route))
        return;
    scene_.ramp = ramp;
    ToneChanged();
}

void Viewer::StepGamma(int steps)
{
    scene_.gamma.Step(steps);
    ToneChanged();
}

void Viewer::StepSigma(int steps)
{
    scene_.sigma.Step(steps);
    ToneChanged();
}

std::vector<Histogram> Viewer::HistogramsOf(const Rectangle& part) const
{
    std::vector<Histogram> histograms;
    for (const std::size_t component : scene_.reader.ColorOrder()) {
        if (histograms.size() < 3) // alpha is no colour
            histograms.emplace_back(scene_.reader, part, component);
    }
    return histograms;
}

void Viewer::MeasureValues()
{
    scene_.histograms = HistogramsOf(Whole(scene_.viewport.Image()));
    areValuesOld_ = false;
    lastMeasure_ = Clock::now();
}

// Updates

void Viewer::OnUpdates()
{
    const Updates updates = listener_->Take();
    if (updates.times.empty())
        return;
    for (const Rectangle& part : updates.dirty)
        pane_->Repaint(part);
    UpdateWindow(pane_->Handle());
    for (const Clock::time_point time : updates.times)
        scene_.updates.Add(time);
    scene_.lastChange = updates.last;
    areValuesOld_ = true;
    isSettled_ = false;
    lastUpdate_ = Clock::now();
    SetTimer(Handle(), timer, static_cast<UINT>(tick.count()), nullptr);
    // When updates come faster than they are drawn, no timer gets its turn.
    if (Clock::now() - lastTick_ >= 2 * tick)
        OnTimer();
}

void Viewer::OnTimer()
{
    const Clock::time_point now = Clock::now();
    lastTick_ = now;
    const bool isAtRest = now - lastUpdate_ >= rest;
    if (isAtRest && !isSettled_) {
        // The last rectangle of a stream may not have been told: what is shown now is certain.
        isSettled_ = true;
        areValuesOld_ = true;
        pane_->Repaint();
    }
    const bool isUrgent = isAtRest || scene_.isFollowing || isFirstLookDue_;
    if (areValuesOld_ && (isUrgent || (hasPanel_ && now - lastMeasure_ >= measurePause))) {
        MeasureValues();
        if (scene_.isFollowing) {
            scene_.levels = AutomaticLevels(scene_.histograms, scene_.range);
            ToneChanged();
        } else if (isFirstLookDue_ && !IsBlank(scene_.histograms)) {
            scene_.levels = FirstLevels(scene_.histograms, scene_.range);
            ToneChanged();
        }
        panel_->Redraw();
    }
    status_->Refresh();
    if (isAtRest && scene_.updates.PerSecond(now) == 0)
        KillTimer(Handle(), timer);
}

void Viewer::OnClosed()
{
    OnUpdates();
    scene_.producer = Producer::Closed;
    scene_.isFollowing = false;
    pane_->Repaint();
    status_->Refresh();
}

// The window

void Viewer::ToggleFullScreen()
{
    if (beforeFullScreen_) {
        SetWindowLongPtrW(Handle(), GWL_STYLE, framed | WS_VISIBLE);
        SetWindowPlacement(Handle(), &*beforeFullScreen_);
        SetWindowPos(Handle(), nullptr, 0, 0, 0, 0,
                     SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_FRAMECHANGED);
        beforeFullScreen_.reset();
        return;
    }
    WINDOWPLACEMENT placement = {};
    placement.length = sizeof placement;
    GetWindowPlacement(Handle(), &placement);
    beforeFullScreen_ = placement;
    MONITORINFO monitor = {};
    monitor.cbSize = sizeof monitor;
    GetMonitorInfoW(MonitorFromWindow(Handle(), MONITOR_DEFAULTTONEAREST), &monitor);
    const RECT& all = monitor.rcMonitor;
    SetWindowLongPtrW(Handle(), GWL_STYLE, WS_POPUP | WS_VISIBLE | WS_CLIPCHILDREN);
    SetWindowPos(Handle(), HWND_TOP, all.left, all.top, all.right - all.left, all.bottom - all.top,
                 SWP_FRAMECHANGED);
}

void Viewer::OnDpi(UINT dpi)
{
    ownLook_.emplace(dpi);
    look_ = &*ownLook_;
    panel_->Redraw();
    InvalidateRect(status_->Handle(), nullptr, FALSE);
}

LRESULT Viewer::OnMessage(UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case ImageUpdated:
        OnUpdates();
        return 0;
    case ProducerClosed:
        OnClosed();
        return 0;
    case WM_TIMER:
        OnTimer();
        return 0;
    case WM_KEYDOWN:
        return OnKey(wParam) ? 0 : Default(message, wParam, lParam);
    case WM_MOUSEWHEEL:
        OnWheel(wParam, lParam);
        return 0;
    case WM_SIZE:
        if (wParam != SIZE_MINIMIZED && status_)
            Layout();
        return 0;
    case WM_GETMINMAXINFO:
        reinterpret_cast<MINMAXINFO*>(lParam)->ptMinTrackSize = {480, 320};
        return 0;
    case WM_DPICHANGED: {
        OnDpi(HIWORD(wParam));
        const RECT& place = *reinterpret_cast<const RECT*>(lParam);
        SetWindowPos(Handle(), nullptr, place.left, place.top, place.right - place.left,
                     place.bottom - place.top, SWP_NOZORDER | SWP_NOACTIVATE);
        Layout();
        return 0;
    }
    case WM_ERASEBKGND:
        return 1;
    case WM_DESTROY:
        PostQuitMessage(0);
        return 0;
    default:
        return Default(message, wParam, lParam);
    }
}

} // namespace Mardu::Sentel::Tavlo::Client::View
