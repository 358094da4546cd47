#include "client/view/keys.h"

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

// The platform's virtual-key codes, which are the same everywhere it runs. Letters and digits
// are their own.
constexpr std::uint32_t enter = 0x0D, escape = 0x1B, left = 0x25, up = 0x26, right = 0x27, down = 0x28,
                        numberAdd = 0x6B, numberSubtract = 0x6D, f1 = 0x70, f11 = 0x7A, plus = 0xBB,
                        minus = 0xBD, slash = 0xBF;

constexpr Key keys[] = {
    {'F', Plain, Task::Fit},
    {'1', Plain, Task::OneToOne},
    {plus, Plain, Task::ZoomIn},
    {plus, Shift, Task::ZoomIn},
    {numberAdd, Plain, Task::ZoomIn},
    {minus, Plain, Task::ZoomOut},
    {numberSubtract, Plain, Task::ZoomOut},
    {left, Plain, Task::PanLeft},
    {right, Plain, Task::PanRight},
    {up, Plain, Task::PanUp},
    {down, Plain, Task::PanDown},
    {left, Control, Task::ProbeLeft},
    {right, Control, Task::ProbeRight},
    {up, Control, Task::ProbeUp},
    {down, Control, Task::ProbeDown},
    {left, Control | Shift, Task::ProbeFarLeft},
    {right, Control | Shift, Task::ProbeFarRight},
    {up, Control | Shift, Task::ProbeFarUp},
    {down, Control | Shift, Task::ProbeFarDown},
    {right, Shift, Task::MoreContrast},
    {left, Shift, Task::LessContrast},
    {up, Shift, Task::Brighter},
    {down, Shift, Task::Darker},
    {'G', Plain, Task::GammaUp},
    {'G', Shift, Task::GammaDown},
    {'S', Plain, Task::SigmaUp},
    {'S', Shift, Task::SigmaDown},
    {'C', Plain, Task::NextRamp},
    {'C', Shift, Task::PreviousRamp},
    {'I', Plain, Task::TurnRamp},
    {'A', Plain, Task::AutomaticContrast},
    {'A', Shift, Task::FollowContrast},
    {'M', Plain, Task::Region},
    {enter, Plain, Task::Region},
    {'R', Plain, Task::Reset},
    {'H', Plain, Task::Panel},
    {f11, Plain, Task::FullScreen},
    {f1, Plain, Task::KeyList},
    {slash, Shift, Task::KeyList},
    {slash, Plain, Task::KeyList},
    {escape, Plain, Task::Cancel},
    {'Q', Plain, Task::Close},
    {'W', Control, Task::Close},
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

bool FindTask(std::uint32_t code, std::uint32_t modifiers, Task& task) noexcept
{
    for (const Key& key : keys) {
        if (key.code == code && key.modifiers == modifiers) {
            task = key.task;
            return true;
        }
    }
    return false;
}

std::span<const KeyLine> KeyLines() noexcept
{
    return lines;
}

} // namespace Mardu::Sentel::Tavlo::Client::View
