#include "client/view/full_screen.h"

namespace Mardu::Sentel::Tavlo::Client::View {

void FullScreen::Toggle(HWND window)
{
    IsOn() ? Leave(window) : Enter(window);
}

void FullScreen::Leave(HWND window)
{
    SetWindowLongPtrW(window, GWL_STYLE, framedWindow | WS_VISIBLE);
    SetWindowPlacement(window, &*before_);
    SetWindowPos(window, nullptr, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_FRAMECHANGED);
    before_.reset();
}

void FullScreen::Enter(HWND window)
{
    WINDOWPLACEMENT placement = {};
    placement.length = sizeof placement;
    GetWindowPlacement(window, &placement);
    before_ = placement;
    MONITORINFO monitor = {};
    monitor.cbSize = sizeof monitor;
    GetMonitorInfoW(MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST), &monitor);
    const RECT& all = monitor.rcMonitor;
    SetWindowLongPtrW(window, GWL_STYLE, WS_POPUP | WS_VISIBLE | WS_CLIPCHILDREN);
    SetWindowPos(window, HWND_TOP, all.left, all.top, all.right - all.left, all.bottom - all.top,
                 SWP_FRAMECHANGED);
}

} // namespace Mardu::Sentel::Tavlo::Client::View
