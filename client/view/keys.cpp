#include "client/view/keys.h"

#include <algorithm>
#include <iterator>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

// The platform's virtual-key codes, which are the same everywhere it runs. Letters and digits
// are their own.
constexpr std::uint32_t enter = 0x0D, escape = 0x1B, left = 0x25, up = 0x26, right = 0x27, down = 0x28,
                        numberAdd = 0x6B, numberSubtract = 0x6D, f1 = 0x70, f11 = 0x7A, plus = 0xBB,
                        minus = 0xBD, slash = 0xBF;

constexpr std::int32_t panStep = 64;
constexpr std::int32_t farStep = 16;

using On = const KeyTargets&;

void Fit(On on)
{
    on.navigation.Fit();
}
void OneToOne(On on)
{
    on.navigation.ShowOneToOne();
}
void ZoomIn(On on)
{
    on.navigation.Zoom(1);
}
void ZoomOut(On on)
{
    on.navigation.Zoom(-1);
}
void PanLeft(On on)
{
    on.navigation.PanBy(on.window.Px(panStep), 0);
}
void PanRight(On on)
{
    on.navigation.PanBy(-on.window.Px(panStep), 0);
}
void PanUp(On on)
{
    on.navigation.PanBy(0, on.window.Px(panStep));
}
void PanDown(On on)
{
    on.navigation.PanBy(0, -on.window.Px(panStep));
}
void ProbeLeft(On on)
{
    on.navigation.MoveProbe(-1, 0);
}
void ProbeRight(On on)
{
    on.navigation.MoveProbe(1, 0);
}
void ProbeUp(On on)
{
    on.navigation.MoveProbe(0, -1);
}
void ProbeDown(On on)
{
    on.navigation.MoveProbe(0, 1);
}
void ProbeFarLeft(On on)
{
    on.navigation.MoveProbe(-farStep, 0);
}
void ProbeFarRight(On on)
{
    on.navigation.MoveProbe(farStep, 0);
}
void ProbeFarUp(On on)
{
    on.navigation.MoveProbe(0, -farStep);
}
void ProbeFarDown(On on)
{
    on.navigation.MoveProbe(0, farStep);
}
void MoreContrast(On on)
{
    on.tone.Step(1, 0);
}
void LessContrast(On on)
{
    on.tone.Step(-1, 0);
}
void Brighter(On on)
{
    on.tone.Step(0, -1);
}
void Darker(On on)
{
    on.tone.Step(0, 1);
}
void GammaUp(On on)
{
    on.tone.StepGamma(1);
}
void GammaDown(On on)
{
    on.tone.StepGamma(-1);
}
void SigmaUp(On on)
{
    on.tone.StepSigma(1);
}
void SigmaDown(On on)
{
    on.tone.StepSigma(-1);
}
void NextRamp(On on)
{
    on.tone.StepRamp(1);
}
void PreviousRamp(On on)
{
    on.tone.StepRamp(-1);
}
void TurnRamp(On on)
{
    on.tone.TurnRamp();
}
void AutomaticContrast(On on)
{
    on.tone.AdjustToImage();
}
void FollowContrast(On on)
{
    on.tone.ToggleFollowing();
}
void ToggleRegion(On on)
{
    on.region.Toggle();
}
void Reset(On on)
{
    on.tone.Reset();
}
void TogglePanel(On on)
{
    on.window.TogglePanel();
}
void ToggleFullScreen(On on)
{
    on.window.ToggleFullScreen();
}
void ToggleKeyList(On on)
{
    on.window.ToggleKeyList();
}
void Cancel(On on)
{
    on.window.Cancel();
}
void Close(On on)
{
    on.window.Close();
}

constexpr Key keys[] = {
    {'F', Plain, Fit},
    {'1', Plain, OneToOne},
    {plus, Plain, ZoomIn},
    {plus, Shift, ZoomIn},
    {numberAdd, Plain, ZoomIn},
    {minus, Plain, ZoomOut},
    {numberSubtract, Plain, ZoomOut},
    {left, Plain, PanLeft},
    {right, Plain, PanRight},
    {up, Plain, PanUp},
    {down, Plain, PanDown},
    {left, Control, ProbeLeft},
    {right, Control, ProbeRight},
    {up, Control, ProbeUp},
    {down, Control, ProbeDown},
    {left, Control | Shift, ProbeFarLeft},
    {right, Control | Shift, ProbeFarRight},
    {up, Control | Shift, ProbeFarUp},
    {down, Control | Shift, ProbeFarDown},
    {right, Shift, MoreContrast},
    {left, Shift, LessContrast},
    {up, Shift, Brighter},
    {down, Shift, Darker},
    {'G', Plain, GammaUp},
    {'G', Shift, GammaDown},
    {'S', Plain, SigmaUp},
    {'S', Shift, SigmaDown},
    {'C', Plain, NextRamp},
    {'C', Shift, PreviousRamp},
    {'I', Plain, TurnRamp},
    {'A', Plain, AutomaticContrast},
    {'A', Shift, FollowContrast},
    {'M', Plain, ToggleRegion},
    {enter, Plain, ToggleRegion},
    {'R', Plain, Reset},
    {'H', Plain, TogglePanel},
    {f11, Plain, ToggleFullScreen},
    {f1, Plain, ToggleKeyList},
    {slash, Shift, ToggleKeyList},
    {slash, Plain, ToggleKeyList},
    {escape, Plain, Cancel},
    {'Q', Plain, Close},
    {'W', Control, Close},
};

constexpr KeyLine lines[] = {
    {"Shift+Left, Shift+Right", "right drag, sideways", "less, more contrast"},
    {"Shift+Up, Shift+Down", "right drag, up and down", "brighter, darker"},
    {"A", "", "automatic contrast over the image"},
    {"Shift+A", "", "automatic contrast at every update, on and off"},
    {"M, Ctrl+arrows, M", "Shift+left drag", "automatic contrast over a region"},
    {"G, Shift+G", "", "gamma up, down"},
    {"S, Shift+S", "", "sigma up, down"},
    {"C, Shift+C", "click on a ramp", "next, previous colour ramp"},
    {"I", "", "turn the colour ramp round"},
    {"R", "", "full range, gamma and sigma 1"},
    {"+, -", "wheel", "zoom in, out at the pixel in the status line"},
    {"F", "double click", "fit the picture into the window"},
    {"1", "", "one screen pixel for each pixel"},
    {"Arrows", "left drag", "move the picture"},
    {"Ctrl+arrows, with Shift by 16", "pointer", "go to a pixel and read its value"},
    {"H", "", "histogram, on and off"},
    {"F11", "", "full screen, on and off"},
    {"F1, ?", "", "this list, on and off"},
    {"Esc", "", "drop the region, leave the list or the full screen"},
    {"Q, Ctrl+W, Alt+F4", "", "close"},
};

} // namespace

std::span<const Key> Keys() noexcept
{
    return keys;
}

const Key* FindKey(std::uint32_t code, std::uint32_t modifiers) noexcept
{
    const auto* const found = std::ranges::find_if(
        keys, [=](const Key& key) { return key.code == code && key.modifiers == modifiers; });
    return found == std::end(keys) ? nullptr : found;
}

std::span<const KeyLine> KeyLines() noexcept
{
    return lines;
}

} // namespace Mardu::Sentel::Tavlo::Client::View
