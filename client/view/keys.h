#pragma once

#include "client/view/navigation.h"
#include "client/view/region_selection.h"
#include "client/view/tone_control.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace Mardu::Sentel::Tavlo::Client::View {

/// What keys do to the window itself.
class WindowActions
{
public:
    virtual void TogglePanel() = 0;
    virtual void ToggleFullScreen() = 0;
    virtual void ToggleKeyList() = 0;
    /// Takes back what was begun last: a region, the list of keys, the full screen, a marked pixel.
    virtual void Cancel() = 0;
    virtual void Close() = 0;
    /// The window's pixels for a length at 96 dots per inch.
    virtual int Px(int length) const = 0;

protected:
    ~WindowActions() = default;
};

/// What keys act on.
struct KeyTargets
{
    Navigation& navigation;
    ToneControl& tone;
    RegionSelection& region;
    WindowActions& window;
};

/// Keys that are held with another one.
enum Modifier : std::uint32_t
{
    Plain = 0,
    Shift = 1,
    Control = 2,
};

/// A key, named by its virtual-key code, and what it does.
struct Key
{
    std::uint32_t code;
    std::uint32_t modifiers;
    void (*press)(const KeyTargets& on);
};

std::span<const Key> Keys() noexcept;

/// Null for a key that does nothing.
const Key* FindKey(std::uint32_t code, std::uint32_t modifiers) noexcept;

/// A line of the list of keys.
struct KeyLine
{
    std::string_view keys;
    std::string_view mouse; ///< the same with the mouse; may be empty
    std::string_view effect;
};

std::span<const KeyLine> KeyLines() noexcept;

} // namespace Mardu::Sentel::Tavlo::Client::View
