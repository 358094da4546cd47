#pragma once

#include "client/view/scene.h"
#include "client/view/screen_style.h"
#include "client/view/window.h"

#include <vector>

namespace Mardu::Sentel::Tavlo::Client::View {

/// The line at the bottom of the window. Its window text is what it shows at that moment.
class StatusLine final : public Window
{
public:
    StatusLine(HWND parent, Scene& scene, const ScreenStyle& style);

    /// Draws the line again if it has changed.
    void Refresh();

    static constexpr int height = 28;

private:
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    std::vector<std::wstring> Parts() const;
    void Paint();

    Scene& scene_;
    const ScreenStyle& style_;
    std::vector<std::wstring> shown_;
};

} // namespace Mardu::Sentel::Tavlo::Client::View
