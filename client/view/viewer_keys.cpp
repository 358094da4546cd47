#include "client/view/viewer.h"

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

constexpr std::int32_t panStep = 64;
constexpr std::int32_t probeStep = 16;
constexpr double toneStep = 16; ///< pixels of a drag that a key stands for

std::uint32_t HeldModifiers() noexcept
{
    return (GetKeyState(VK_SHIFT) < 0 ? Shift : 0u) | (GetKeyState(VK_CONTROL) < 0 ? Control : 0u);
}

} // namespace

bool Viewer::OnKey(WPARAM code)
{
    Task task = Task::Close;
    if (!FindTask(static_cast<std::uint32_t>(code), HeldModifiers(), task))
        return false;
    Do(task);
    return true;
}

bool Viewer::DoWithView(Task task)
{
    switch (task) {
    case Task::Fit:
        Fit();
        return true;
    case Task::OneToOne:
        scene_.viewport.ScaleTo(1, ProbePoint());
        ViewChanged();
        return true;
    case Task::ZoomIn:
        Zoom(1, ProbePoint());
        return true;
    case Task::ZoomOut:
        Zoom(-1, ProbePoint());
        return true;
    case Task::PanLeft:
        PanBy(look_->Px(panStep), 0);
        return true;
    case Task::PanRight:
        PanBy(-look_->Px(panStep), 0);
        return true;
    case Task::PanUp:
        PanBy(0, look_->Px(panStep));
        return true;
    case Task::PanDown:
        PanBy(0, -look_->Px(panStep));
        return true;
    case Task::ProbeLeft:
        MoveProbe(-1, 0);
        return true;
    case Task::ProbeRight:
        MoveProbe(1, 0);
        return true;
    case Task::ProbeUp:
        MoveProbe(0, -1);
        return true;
    case Task::ProbeDown:
        MoveProbe(0, 1);
        return true;
    case Task::ProbeFarLeft:
        MoveProbe(-probeStep, 0);
        return true;
    case Task::ProbeFarRight:
        MoveProbe(probeStep, 0);
        return true;
    case Task::ProbeFarUp:
        MoveProbe(0, -probeStep);
        return true;
    case Task::ProbeFarDown:
        MoveProbe(0, probeStep);
        return true;
    default:
        return false;
    }
}

bool Viewer::DoWithTone(Task task)
{
    const auto drag = [this](double dx, double dy) {
        scene_.isFollowing = false;
        scene_.levels = Dragged(scene_.levels, dx * toneStep, dy * toneStep, scene_.range);
        ToneChanged();
    };
    const std::size_t ramps = Ramps().size();
    switch (task) {
    case Task::MoreContrast:
        drag(1, 0);
        return true;
    case Task::LessContrast:
        drag(-1, 0);
        return true;
    case Task::Brighter:
        drag(0, -1);
        return true;
    case Task::Darker:
        drag(0, 1);
        return true;
    case Task::GammaUp:
        StepGamma(1);
        return true;
    case Task::GammaDown:
        StepGamma(-1);
        return true;
    case Task::SigmaUp:
        StepSigma(1);
        return true;
    case Task::SigmaDown:
        StepSigma(-1);
        return true;
    case Task::NextRamp:
        ChooseRamp((scene_.ramp + 1) % ramps);
        return true;
    case Task::PreviousRamp:
        ChooseRamp((scene_.ramp + ramps - 1) % ramps);
        return true;
    case Task::TurnRamp:
        scene_.isRampTurned = HasRamp(scene_.route) && !scene_.isRampTurned;
        ToneChanged();
        return true;
    case Task::AutomaticContrast:
        scene_.isFollowing = false;
        MeasureValues();
        scene_.levels = AutomaticLevels(scene_.histograms, scene_.range);
        ToneChanged();
        return true;
    case Task::FollowContrast:
        scene_.isFollowing = !scene_.isFollowing && scene_.producer == Producer::Alive;
        MeasureValues();
        scene_.levels = AutomaticLevels(scene_.histograms, scene_.range);
        ToneChanged();
        return true;
    case Task::Reset:
        scene_.isFollowing = false;
        scene_.levels = FullLevels(scene_.range);
        scene_.gamma.Reset();
        scene_.sigma.Reset();
        ToneChanged();
        return true;
    default:
        return false;
    }
}

void Viewer::Do(Task task)
{
    if (DoWithView(task) || DoWithTone(task))
        return;
    switch (task) {
    case Task::Region:
        if (scene_.regionStart) {
            EndRegion();
        } else {
            scene_.regionStart = scene_.probe;
            MoveProbe(0, 0);
        }
        break;
    case Task::Panel:
        hasPanel_ = !hasPanel_;
        Layout();
        break;
    case Task::FullScreen:
        ToggleFullScreen();
        break;
    case Task::KeyList:
        scene_.hasKeyList = !scene_.hasKeyList;
        pane_->Redraw();
        break;
    case Task::Cancel:
        if (scene_.regionStart)
            DropRegion();
        else if (scene_.hasKeyList)
            scene_.hasKeyList = false;
        else if (beforeFullScreen_)
            ToggleFullScreen();
        else
            scene_.isProbeMarked = false;
        pane_->Redraw();
        break;
    case Task::Close:
        SendMessageW(Handle(), WM_CLOSE, 0, 0);
        break;
    default:
        break;
    }
}

} // namespace Mardu::Sentel::Tavlo::Client::View
