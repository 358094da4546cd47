#include "client/view/viewer.h"

#include "client/foundation/failure.h"
#include "client/view/messages.h"

#include <dwmapi.h>
#include <windowsx.h>

#include <algorithm>
#include <utility>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

constexpr UINT_PTR timer = 1;

constexpr Size firstSize = {1100, 720};

/// Not in older headers; where the platform does not know it, frames stay light.
constexpr DWORD useDarkFrame = 20;

Scene SceneOf(const ViewedImage& image, const ViewOptions& options)
{
    Scene scene(image.descriptor, image.reader->Base());
    scene.ramp = HasRamp(scene.route) ? options.ramp : 0;
    scene.producer = image.isShared ? Producer::Alive : Producer::None;
    scene.probe = {image.descriptor.width / 2, image.descriptor.height / 2};
    return scene;
}

/// What changes from here on is told. Null for an image that nobody else changes.
tavlo::com_ptr<UpdateListener> ListenTo(const ViewedImage& image)
{
    if (!image.isShared)
        return {};
    tavlo::com_ptr<UpdateListener> listener(new UpdateListener);
    Check(image.image.get()->Subscribe(listener.get(), Tavlo_Asynchronous), "subscribe to the image");
    return listener;
}

std::uint32_t HeldModifiers() noexcept
{
    return (GetKeyState(VK_SHIFT) < 0 ? Shift : 0u) | (GetKeyState(VK_CONTROL) < 0 ? Control : 0u);
}

/// The work area of the window's screen.
RECT WorkArea(HWND window) noexcept
{
    MONITORINFO monitor = {};
    monitor.cbSize = sizeof monitor;
    GetMonitorInfoW(MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST), &monitor);
    return monitor.rcWork;
}

} // namespace

Viewer::Viewer(ViewedImage image, const ViewOptions& options)
    : image_(std::move(image)),
      scene_(SceneOf(image_, options)),
      converter_(image_.descriptor, image_.reader->Base()),
      listener_(ListenTo(image_)),
      navigation_(scene_, *this),
      tone_(scene_, *this, std::chrono::steady_clock::now()),
      region_(scene_, *this, navigation_, tone_),
      follower_(scene_, *this, tone_),
      style_(USER_DEFAULT_SCREEN_DPI)
{
    ApplyTone();
    Window::Create(L"TavloViewer", image_.title + L" - Tavlo", framedWindow, 0, nullptr);
    OpenParts();
    Open(options);
    if (listener_) {
        listener_->Tell(Handle());
        watch_.emplace(*image_.image.get(), *listener_.get(), image_.process, Handle());
    }
}

Viewer::~Viewer()
{
    if (listener_)
        listener_->Tell(nullptr);
}

void Viewer::OpenParts()
{
    const BOOL isDark = TRUE;
    DwmSetWindowAttribute(Handle(), useDarkFrame, &isDark, sizeof isDark);
    style_ = ScreenStyle(GetDpiForWindow(Handle()));
    picture_.emplace(Handle(), scene_, style_, converter_,
                     PicturePane::Controls{navigation_, tone_, region_});
    panel_.emplace(Handle(), scene_, style_, tone_);
    status_.emplace(Handle(), scene_, style_);
}

/// In the middle of the screen, and no larger.
void Viewer::Open(const ViewOptions& options)
{
    const Size inside = options.size.value_or(firstSize);
    RECT frame = {0, 0, Px(inside.width), Px(inside.height)};
    AdjustWindowRectExForDpi(&frame, framedWindow, FALSE, 0, GetDpiForWindow(Handle()));
    const RECT screen = WorkArea(Handle());
    const LONG width = std::min(frame.right - frame.left, screen.right - screen.left);
    const LONG height = std::min(frame.bottom - frame.top, screen.bottom - screen.top);
    const LONG left = screen.left + (screen.right - screen.left - width) / 2;
    const LONG top = screen.top + (screen.bottom - screen.top - height) / 2;
    SetWindowPos(Handle(), nullptr, left, top, width, height, SWP_NOZORDER);
    ShowWindow(Handle(), SW_SHOWNORMAL);
    SetForegroundWindow(Handle());
}

void Viewer::Layout()
{
    RECT inside;
    GetClientRect(Handle(), &inside);
    const LONG lineHeight = Px(StatusLine::height);
    const LONG panelWidth = hasPanel_ ? Px(SidePanel::width) : 0;
    const LONG height = std::max<LONG>(inside.bottom - lineHeight, 0);
    const LONG width = std::max<LONG>(inside.right - panelWidth, 0);
    MoveWindow(picture_->Handle(), 0, 0, width, height, TRUE);
    MoveWindow(panel_->Handle(), width, 0, panelWidth, height, TRUE);
    MoveWindow(status_->Handle(), 0, height, inside.right, lineHeight, TRUE);
}

void Viewer::TogglePanel()
{
    hasPanel_ = !hasPanel_;
    Layout();
}

void Viewer::ToggleKeyList()
{
    scene_.hasKeyList = !scene_.hasKeyList;
    RedrawMarks();
}

void Viewer::Cancel()
{
    if (scene_.regionStart)
        region_.Drop();
    else if (scene_.hasKeyList)
        scene_.hasKeyList = false;
    else if (fullScreen_.IsOn())
        ToggleFullScreen();
    else
        scene_.isProbeMarked = false;
    RedrawMarks();
}

bool Viewer::OnKey(WPARAM code)
{
    const Key* const key = FindKey(static_cast<std::uint32_t>(code), HeldModifiers());
    if (key == nullptr)
        return false;
    key->press({navigation_, tone_, region_, *this});
    return true;
}

void Viewer::OnWheel(WPARAM wParam, LPARAM lParam)
{
    POINT pointer = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
    ScreenToClient(picture_->Handle(), &pointer);
    navigation_.TurnWheel(GET_WHEEL_DELTA_WPARAM(wParam), WHEEL_DELTA, {pointer.x, pointer.y});
}

void Viewer::OnUpdates()
{
    const Updates updates = listener_->Take();
    if (updates.times.empty())
        return;
    follower_.Take(updates);
    SetTimer(Handle(), timer, static_cast<UINT>(UpdateFollower::tick.count()), nullptr);
    // When updates come faster than they are drawn, no timer gets its turn.
    if (follower_.IsTickOverdue())
        OnTimer();
}

void Viewer::OnTimer()
{
    if (!follower_.OnTick(hasPanel_))
        KillTimer(Handle(), timer);
}

void Viewer::OnProducerClosed()
{
    OnUpdates();
    follower_.ProducerClosed();
}

void Viewer::OnDpi(UINT dpi, const RECT& place)
{
    style_ = ScreenStyle(dpi);
    RedrawPanel();
    InvalidateRect(status_->Handle(), nullptr, FALSE);
    SetWindowPos(Handle(), nullptr, place.left, place.top, place.right - place.left, place.bottom - place.top,
                 SWP_NOZORDER | SWP_NOACTIVATE);
    Layout();
}

LRESULT Viewer::OnMessage(UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case ImageUpdated:
        OnUpdates();
        return 0;
    case ProducerClosed:
        OnProducerClosed();
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
    case WM_DPICHANGED:
        OnDpi(HIWORD(wParam), *reinterpret_cast<const RECT*>(lParam));
        return 0;
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
