#pragma once

#include <windows.h>

#include <optional>

namespace Mardu::Sentel::Tavlo::Client::View {

/// The style of a window with a frame.
inline constexpr DWORD framedWindow = WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN;

/// Makes a framed window cover its screen, and gives it back its place.
class FullScreen
{
public:
    bool IsOn() const noexcept { return before_.has_value(); }
    void Toggle(HWND window);

private:
    void Enter(HWND window);
    void Leave(HWND window);

    std::optional<WINDOWPLACEMENT> before_;
};

} // namespace Mardu::Sentel::Tavlo::Client::View
