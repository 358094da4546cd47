#pragma once

#include "client/view/histogram.h"

#include <cstdint>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client::View {

inline Descriptor Row(std::size_t count, Encoding encoding, std::int32_t bits, std::int32_t size)
{
    const auto width = static_cast<std::int32_t>(count);
    return {width, 1, bits, encoding, 0, size, size * width};
}

template <typename T>
Histogram Of(const std::vector<T>& values, Encoding encoding, std::int32_t bits = 8 * sizeof(T))
{
    const Descriptor descriptor = Row(values.size(), encoding, bits, sizeof(T));
    const PixelReader reader(descriptor, reinterpret_cast<const std::uint8_t*>(values.data()));
    return Histogram(reader, {0, 0, descriptor.width, 1}, 0);
}

} // namespace Mardu::Sentel::Tavlo::Client::View
