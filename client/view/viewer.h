#pragma once

#include "client/view/full_screen.h"
#include "client/view/keys.h"
#include "client/view/picture_pane.h"
#include "client/view/producer_watch.h"
#include "client/view/recoding_converter.h"
#include "client/view/side_panel.h"
#include "client/view/status_line.h"
#include "client/view/update_follower.h"
#include "client/view/update_listener.h"
#include "client/view/viewed_image.h"

#include <optional>

namespace Mardu::Sentel::Tavlo::Client::View {

struct ViewOptions
{
    std::size_t ramp = 0;
    std::optional<Size> size; ///< of the window's inside, at 96 dots per inch
};

/// The window on an image: puts its parts in their places, and passes on what users do and what
/// other threads tell.
class Viewer final : public Window, private SceneDisplay, private WindowActions
{
public:
    Viewer(ViewedImage image, const ViewOptions& options);
    ~Viewer() override;

private:
    void RepaintPicture() override { picture_->Repaint(); }
    void RepaintPicture(const Rectangle& pixels) override { picture_->Repaint(pixels); }
    void ShowPicture() override { UpdateWindow(picture_->Handle()); }
    void RedrawMarks() override { picture_->Redraw(); }
    void RedrawPanel() override { panel_->Redraw(); }
    void RefreshStatus() override { status_->Refresh(); }
    void ApplyTone() override { converter_.Render(RenderingOf(scene_)); }

    void TogglePanel() override;
    void ToggleFullScreen() override { fullScreen_.Toggle(Handle()); }
    void ToggleKeyList() override;
    void Cancel() override;
    void Close() override { SendMessageW(Handle(), WM_CLOSE, 0, 0); }
    int Px(int length) const override { return style_.Px(length); }

    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    bool OnKey(WPARAM code);
    void OnWheel(WPARAM wParam, LPARAM lParam);
    void OnUpdates();
    void OnTimer();
    void OnProducerClosed();
    void OnDpi(UINT dpi, const RECT& place);
    void OpenParts();
    void Open(const ViewOptions& options);
    void Layout();

    ViewedImage image_;
    Scene scene_;
    RecodingConverter converter_;
    tavlo::com_ptr<UpdateListener> listener_; ///< null when nobody else can change the image
    Navigation navigation_;
    ToneControl tone_; ///< looks at what the listener was not told of
    RegionSelection region_;
    UpdateFollower follower_;

    ScreenStyle style_;
    std::optional<PicturePane> picture_;
    std::optional<SidePanel> panel_;
    std::optional<StatusLine> status_;
    std::optional<ProducerWatch> watch_;
    FullScreen fullScreen_;
    bool hasPanel_ = true;
};

} // namespace Mardu::Sentel::Tavlo::Client::View
