#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace Mardu::Sentel::Tavlo::Client::View {

/// What a key does.
enum class Task
{
    Fit,
    OneToOne,
    ZoomIn,
    ZoomOut,
    PanLeft,
    PanRight,
    PanUp,
    PanDown,
    ProbeLeft,
    ProbeRight,
    ProbeUp,
    ProbeDown,
    ProbeFarLeft,
    ProbeFarRight,
    ProbeFarUp,
    ProbeFarDown,
    MoreContrast,
    LessContrast,
    Brighter,
    Darker,
    GammaUp,
    GammaDown,
    SigmaUp,
    SigmaDown,
    NextRamp,
    PreviousRamp,
    TurnRamp,
    AutomaticContrast,
    FollowContrast,
    Region,
    Reset,
    Panel,
    FullScreen,
    KeyList,
    Cancel,
    Close,
};

/// Keys that are held with another one.
enum Modifier : std::uint32_t
{
    Plain = 0,
    Shift = 1,
    Control = 2,
};

/// A key, named by its virtual-key code, that does a task.
struct Key
{
    std::uint32_t code;
    std::uint32_t modifiers;
    Task task;
};

std::span<const Key> Keys() noexcept;

/// Looks a key up; tells whether there is one.
bool FindTask(std::uint32_t code, std::uint32_t modifiers, Task& task) noexcept;

/// A line of the list of keys.
struct KeyLine
{
    std::string_view keys;
    std::string_view mouse; ///< the same with the mouse; may be empty
    std::string_view effect;
};

std::span<const KeyLine> KeyLines() noexcept;

} // namespace Mardu::Sentel::Tavlo::Client::View
