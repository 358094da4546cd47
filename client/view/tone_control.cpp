#include "client/view/tone_control.h"

#include <algorithm>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

using namespace std::chrono_literals;

/// While updates come, the histogram follows more slowly than the picture.
constexpr auto measurePause = 400ms;

constexpr double keyStep = 16; ///< pixels of a drag that a key stands for

bool IsBlank(const std::vector<Histogram>& histograms) noexcept
{
    return std::ranges::all_of(histograms, [](const Histogram& one) { return one.Values().Span() == 0; });
}

} // namespace

ToneControl::ToneControl(Scene& scene, SceneDisplay& display, Time now) : scene_(scene), display_(display)
{
    Measure(now);
    isFirstLookDue_ = IsBlank(scene_.histograms);
    scene_.levels = FirstLevels(scene_.histograms, scene_.range);
}

void ToneControl::ToneChanged()
{
    isFirstLookDue_ = false;
    display_.ApplyTone();
    display_.RepaintPicture();
    display_.RedrawPanel();
    display_.RefreshStatus();
}

void ToneControl::DragFrom(const Levels& start, double dx, double dy)
{
    scene_.isFollowing = false;
    scene_.levels = Dragged(start, dx, dy, scene_.range);
    ToneChanged();
}

void ToneControl::Step(double dx, double dy)
{
    DragFrom(scene_.levels, dx * keyStep, dy * keyStep);
}

void ToneControl::ChooseRamp(std::size_t ramp)
{
    if (!HasRamp(scene_.route))
        return;
    scene_.ramp = ramp;
    ToneChanged();
}

void ToneControl::StepRamp(int steps)
{
    const auto count = static_cast<int>(Ramps().size());
    ChooseRamp(static_cast<std::size_t>((static_cast<int>(scene_.ramp) + steps + count) % count));
}

void ToneControl::TurnRamp()
{
    scene_.isRampTurned = HasRamp(scene_.route) && !scene_.isRampTurned;
    ToneChanged();
}

void ToneControl::StepGamma(int steps)
{
    scene_.gamma.Step(steps);
    ToneChanged();
}

void ToneControl::StepSigma(int steps)
{
    scene_.sigma.Step(steps);
    ToneChanged();
}

void ToneControl::AdjustToImage()
{
    SetFollowing(false);
}

void ToneControl::AdjustTo(const Rectangle& part)
{
    scene_.isFollowing = false;
    scene_.levels = AutomaticLevels(HistogramsOf(part), scene_.range);
    ToneChanged();
}

void ToneControl::ToggleFollowing()
{
    SetFollowing(!scene_.isFollowing && scene_.producer == Producer::Alive);
}

void ToneControl::SetFollowing(bool isFollowing)
{
    scene_.isFollowing = isFollowing;
    Measure(std::chrono::steady_clock::now());
    scene_.levels = AutomaticLevels(scene_.histograms, scene_.range);
    ToneChanged();
}

void ToneControl::Reset()
{
    scene_.isFollowing = false;
    scene_.levels = FullLevels(scene_.range);
    scene_.gamma.Reset();
    scene_.sigma.Reset();
    ToneChanged();
}

void ToneControl::FollowValues(Time now, bool isAtRest, bool isHistogramShown)
{
    const bool isUrgent = isAtRest || scene_.isFollowing || isFirstLookDue_;
    if (!areValuesOld_ || !(isUrgent || (isHistogramShown && now - lastMeasure_ >= measurePause)))
        return;
    Measure(now);
    if (scene_.isFollowing) {
        scene_.levels = AutomaticLevels(scene_.histograms, scene_.range);
        ToneChanged();
    } else if (isFirstLookDue_ && !IsBlank(scene_.histograms)) {
        scene_.levels = FirstLevels(scene_.histograms, scene_.range);
        ToneChanged();
    }
    display_.RedrawPanel();
}

std::vector<Histogram> ToneControl::HistogramsOf(const Rectangle& part) const
{
    std::vector<Histogram> histograms;
    for (const std::size_t component : scene_.reader.ColorOrder()) {
        if (histograms.size() < 3) // alpha is no colour
            histograms.emplace_back(scene_.reader, part, component);
    }
    return histograms;
}

void ToneControl::Measure(Time now)
{
    scene_.histograms = HistogramsOf(Whole(scene_.viewport.Image()));
    areValuesOld_ = false;
    lastMeasure_ = now;
}

} // namespace Mardu::Sentel::Tavlo::Client::View
