#pragma once

#include "client/view/keys.h"
#include "client/view/picture_pane.h"
#include "client/view/producer_watch.h"
#include "client/view/recoding_converter.h"
#include "client/view/side_panel.h"
#include "client/view/source.h"
#include "client/view/status_line.h"
#include "client/view/update_listener.h"

#include <optional>

namespace Mardu::Sentel::Tavlo::Client::View {

struct ViewOptions
{
    std::size_t ramp = 0;
    std::optional<Size> size; ///< of the window's inside, at 96 dots per inch
};

/// The window on an image: it does what users ask for and follows the image's updates.
class Viewer final : public Window, private PictureActions, private PanelActions
{
public:
    Viewer(Source source, const ViewOptions& options);
    ~Viewer() override;

private:
    void PointAt(const Point& point) override;
    void PanBy(std::int32_t dx, std::int32_t dy) override;
    void BeginTone() override;
    void DragTone(std::int32_t dx, std::int32_t dy) override;
    void BeginRegion(const Point& point) override;
    void EndRegion() override;
    void DropRegion() override;
    void Fit() override;
    void ChooseRamp(std::size_t ramp) override;
    void StepGamma(int steps) override;
    void StepSigma(int steps) override;

    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    bool OnKey(WPARAM code);
    void Do(Task task);
    bool DoWithView(Task task);
    bool DoWithTone(Task task);
    void OnWheel(WPARAM wParam, LPARAM lParam);
    void OnUpdates();
    void OnTimer();
    void OnClosed();
    void OnDpi(UINT dpi);
    void Layout();
    void ToggleFullScreen();
    void OpenWindow(const ViewOptions& options);

    void Zoom(int steps, const Point& at);
    void MoveProbe(std::int32_t dx, std::int32_t dy);
    void ViewChanged();
    void ToneChanged();
    void MeasureValues();
    std::vector<Histogram> HistogramsOf(const Rectangle& part) const;
    Point ProbePoint() const;

    Source source_;
    Scene scene_;
    RecodingConverter converter_;
    std::optional<Look> ownLook_;
    const Look* look_ = nullptr;
    ComPtr<UpdateListener> listener_;
    std::optional<PicturePane> pane_;
    std::optional<SidePanel> panel_;
    std::optional<StatusLine> status_;
    std::optional<ProducerWatch> watch_;

    Levels dragStart_;
    bool hasPanel_ = true;
    bool areValuesOld_ = false;   ///< the histogram is of an earlier picture
    bool isFirstLookDue_ = false; ///< there was nothing to be seen when the window opened
    bool isSettled_ = true;       ///< the whole image was looked at since the last update
    int wheelRest_ = 0;
    std::chrono::steady_clock::time_point lastTick_;
    std::chrono::steady_clock::time_point lastUpdate_;
    std::chrono::steady_clock::time_point lastMeasure_;
    std::optional<WINDOWPLACEMENT> beforeFullScreen_;
};

} // namespace Mardu::Sentel::Tavlo::Client::View
