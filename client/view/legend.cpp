#include "client/view/legend.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

constexpr std::int32_t mostBytes = 8; ///< of a pixel

template <typename T>
void Store(double value, std::uint8_t* at) noexcept
{
    const auto stored = static_cast<T>(value);
    std::memcpy(at, &stored, sizeof stored);
}

void StorePixel(const PixelType& type, double value, std::uint8_t* at) noexcept
{
    if (type.encoding == Encoding::Float) {
        type.bits == 32 ? Store<float>(value, at) : Store<double>(value, at);
        return;
    }
    const ValueRange held = RangeOf(type);
    const double whole = std::clamp(std::round(value), held.smallest, held.greatest);
    if (type.encoding != Encoding::Unsigned && type.encoding != Encoding::Signed) {
        std::memset(at, static_cast<int>(whole), 3);
        at[3] = 255;
        return;
    }
    // Two's complement of 64 bits: as many of its low bytes as the type has are the number.
    Store<std::int64_t>(whole, at);
}

} // namespace

std::vector<std::uint32_t> Legend::Colors(const ValueRange& range, std::int32_t count,
                                          const Rendering& rendering) const
{
    std::vector<std::uint8_t> memory(static_cast<std::size_t>(count * mostBytes));
    for (std::int32_t i = 0; i < count; ++i) {
        const double value = range.smallest + range.Span() * i / std::max(count - 1, 1);
        StorePixel(type_, value, memory.data() + i * mostBytes);
    }
    RecodingConverter converter({count, 1, type_.bits, type_.encoding, 0, mostBytes, mostBytes * count},
                                memory.data());
    converter.Render(rendering);
    std::vector<std::uint32_t> colors(static_cast<std::size_t>(std::max(count, 2)));
    converter.Convert({0, 0, count, 1}, 1, {colors.data(), std::max(count, 2)});
    colors.resize(static_cast<std::size_t>(count));
    return colors;
}

} // namespace Mardu::Sentel::Tavlo::Client::View
