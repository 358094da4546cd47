#include "client/pictures/pattern.h"

#include "client/foundation/text_parsing.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <concepts>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <type_traits>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

template <typename T>
struct Range
{
    T lowest;
    T highest;
};

template <typename T>
Range<T> RangeOf(const Descriptor& descriptor) noexcept
{
    if constexpr (std::floating_point<T>) {
        return {T{0}, T{1}};
    } else {
        using Limits = std::numeric_limits<T>;
        const bool isNumber =
            descriptor.encoding == Encoding::Unsigned || descriptor.encoding == Encoding::Signed;
        const int unused = isNumber ? static_cast<int>(8 * sizeof(T)) - descriptor.bits : 0;
        return {static_cast<T>(Limits::min() >> unused), static_cast<T>(Limits::max() >> unused)};
    }
}

/// The value at this fraction of the range, rounded; exact at both ends.
template <typename T>
T ValueAt(const Range<T>& range, double fraction) noexcept
{
    if constexpr (std::floating_point<T>) {
        return static_cast<T>(fraction);
    } else {
        using Unsigned = std::make_unsigned_t<T>;
        const auto span =
            static_cast<Unsigned>(static_cast<Unsigned>(range.highest) - static_cast<Unsigned>(range.lowest));
        const auto step = static_cast<Unsigned>(std::round(static_cast<long double>(span) * fraction));
        return static_cast<T>(static_cast<Unsigned>(range.lowest) + step);
    }
}

std::uint64_t Mixed(std::uint64_t value) noexcept
{
    value += 0x9E3779B97F4A7C15;
    value = (value ^ value >> 30) * 0xBF58476D1CE4E5B9;
    value = (value ^ value >> 27) * 0x94D049BB133111EB;
    return value ^ value >> 31;
}

/// Of all bits that a sample can have, so that each of its values is equally likely.
template <typename T>
T RandomValue(const Range<T>& range, std::uint64_t random) noexcept
{
    if constexpr (std::floating_point<T>) {
        return static_cast<T>(static_cast<double>(random >> 11) / 9007199254740992.0);
    } else {
        using Unsigned = std::make_unsigned_t<T>;
        const auto span =
            static_cast<Unsigned>(static_cast<Unsigned>(range.highest) - static_cast<Unsigned>(range.lowest));
        return static_cast<T>(static_cast<Unsigned>(range.lowest) + (static_cast<Unsigned>(random) & span));
    }
}

template <typename T>
T ParseValue(const Range<T>& range, const std::string& text)
{
    T value{};
    const char* const textEnd = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), textEnd, value);
    const bool isWhole = error == std::errc() && end == textEnd;
    if constexpr (std::floating_point<T>) {
        if (!isWhole)
            throw std::invalid_argument("the value must be a number, not " + Quoted(text));
    } else {
        if (!isWhole || value < range.lowest || value > range.highest)
            throw std::invalid_argument("the value must be a whole number from " +
                                        std::to_string(range.lowest) + " to " +
                                        std::to_string(range.highest) + ", not " + Quoted(text));
    }
    return value;
}

/// Where users expect a component, whatever its place in memory.
std::size_t PositionOf(std::span<const std::string_view> components, std::size_t index) noexcept
{
    constexpr std::array<std::string_view, 4> colours = {"red", "green", "blue", "alpha"};
    const auto colour = std::ranges::find(colours, components[index]);
    return colour == colours.end() ? index : static_cast<std::size_t>(colour - colours.begin());
}

/// The value of one component at each pixel of the part.
template <typename T>
class Component
{
public:
    Component(const Descriptor& descriptor, const SampleType& type, const Pattern& pattern,
              const Rectangle& part, std::size_t index)
        : pattern_(pattern),
          range_(RangeOf<T>(descriptor)),
          position_(PositionOf(type.components, index)),
          count_(type.components.size()),
          isAlpha_(type.components[index] == "alpha"),
          lastX_(std::int64_t{part.right} - part.left - 1),
          lastY_(std::int64_t{part.bottom} - part.top - 1)
    {
        if (pattern.kind != PatternKind::Solid)
            return;
        if (pattern.values.size() != 1 && pattern.values.size() != count_)
            throw std::invalid_argument("a pixel has " + std::to_string(count_) +
                                        (count_ == 1 ? " value, not " : " values, not ") +
                                        std::to_string(pattern.values.size()));
        const bool isOwn = pattern.values.size() == count_;
        solid_ =
            !isOwn && isAlpha_ ? range_.highest : ParseValue(range_, pattern.values[isOwn ? position_ : 0]);
    }

    T At(std::int64_t x, std::int64_t y) const noexcept
    {
        if (pattern_.kind == PatternKind::Solid)
            return solid_;
        if (isAlpha_)
            return range_.highest;
        switch (pattern_.kind) {
        case PatternKind::Checkerboard:
            return (x / pattern_.square + y / pattern_.square) % 2 == 0 ? range_.lowest : range_.highest;
        case PatternKind::Noise: {
            const std::uint64_t row =
                Mixed(pattern_.seed + (std::uint64_t{position_} << 32)) + static_cast<std::uint64_t>(y);
            return RandomValue(range_, Mixed(Mixed(row) + static_cast<std::uint64_t>(x)));
        }
        default:
            return ValueAt(range_, Fraction(x, y));
        }
    }

private:
    /// One component runs along the diagonal. Of several, the first runs along x, the
    /// second along y, the third along the diagonal and the fourth against it.
    double Fraction(std::int64_t x, std::int64_t y) const noexcept
    {
        const auto of = [](std::int64_t part, std::int64_t whole) {
            return whole == 0 ? 0.0 : static_cast<double>(part) / static_cast<double>(whole);
        };
        if (count_ > 1 && position_ == 0)
            return of(x, lastX_);
        if (count_ > 1 && position_ == 1)
            return of(y, lastY_);
        const double diagonal = of(x + y, lastX_ + lastY_);
        return position_ == 3 ? 1.0 - diagonal : diagonal;
    }

    const Pattern& pattern_;
    Range<T> range_;
    std::size_t position_;
    std::size_t count_;
    bool isAlpha_;
    std::int64_t lastX_;
    std::int64_t lastY_;
    T solid_{};
};

template <typename T>
void PaintNumbers(const Descriptor& descriptor, const SampleType& type, const Pattern& pattern,
                  const Rectangle& part, std::uint8_t* base, const PartsDone& rowsDone)
{
    // All values are read before the first pixel changes.
    std::vector<Component<T>> components;
    for (std::size_t i = 0; i < type.components.size(); ++i)
        components.emplace_back(descriptor, type, pattern, part, i);
    for (std::int64_t y = part.top; y < part.bottom; ++y) {
        for (std::int64_t x = part.left; x < part.right; ++x) {
            std::uint8_t* sample = base + descriptor.offset + y * descriptor.strideY + x * descriptor.strideX;
            for (const Component<T>& component : components) {
                const T value = component.At(x - part.left, y - part.top);
                std::memcpy(sample, &value, sizeof value);
                sample += sizeof value;
            }
        }
        if (rowsDone)
            rowsDone(y - part.top + 1, std::int64_t{part.bottom} - part.top);
    }
}

} // namespace

void Paint(const Descriptor& descriptor, const SampleType& type, const Pattern& pattern,
           const Rectangle& part, std::uint8_t* base, const PartsDone& rowsDone)
{
    switch (type.number) {
    case Number::UInt8:
        return PaintNumbers<std::uint8_t>(descriptor, type, pattern, part, base, rowsDone);
    case Number::UInt16:
        return PaintNumbers<std::uint16_t>(descriptor, type, pattern, part, base, rowsDone);
    case Number::UInt32:
        return PaintNumbers<std::uint32_t>(descriptor, type, pattern, part, base, rowsDone);
    case Number::UInt64:
        return PaintNumbers<std::uint64_t>(descriptor, type, pattern, part, base, rowsDone);
    case Number::Int8:
        return PaintNumbers<std::int8_t>(descriptor, type, pattern, part, base, rowsDone);
    case Number::Int16:
        return PaintNumbers<std::int16_t>(descriptor, type, pattern, part, base, rowsDone);
    case Number::Int32:
        return PaintNumbers<std::int32_t>(descriptor, type, pattern, part, base, rowsDone);
    case Number::Int64:
        return PaintNumbers<std::int64_t>(descriptor, type, pattern, part, base, rowsDone);
    case Number::Float32:
        return PaintNumbers<float>(descriptor, type, pattern, part, base, rowsDone);
    case Number::Float64:
        return PaintNumbers<double>(descriptor, type, pattern, part, base, rowsDone);
    }
}

} // namespace Mardu::Sentel::Tavlo::Client
