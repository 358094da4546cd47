#include "client/pictures/row_conversion.h"

#include <algorithm>
#include <cstring>

namespace Mardu::Sentel::Tavlo::Client {

void CopyRow(const Descriptor& descriptor, const std::uint8_t* base, std::int32_t y,
             std::span<std::uint8_t> row) noexcept
{
    const auto width = static_cast<std::size_t>(descriptor.width);
    const std::size_t sampleSize = row.size() / width;
    const std::uint8_t* source = base + descriptor.offset + std::int64_t{y} * descriptor.strideY;
    if (descriptor.strideX == static_cast<std::int64_t>(sampleSize)) {
        std::memcpy(row.data(), source, row.size());
        return;
    }
    for (std::size_t x = 0; x < width; ++x)
        std::memcpy(row.data() + x * sampleSize, source + static_cast<std::int64_t>(x) * descriptor.strideX,
                    sampleSize);
}

void UnpackIndices(std::span<const std::uint8_t> packed, int indexBits, const SampleTable& table,
                   std::size_t sampleSize, std::span<std::uint8_t> row) noexcept
{
    const auto bits = static_cast<std::size_t>(indexBits);
    const unsigned mask = (1u << bits) - 1;
    for (std::size_t x = 0; x * sampleSize < row.size(); ++x) {
        const std::size_t bit = x * bits;
        const std::size_t shift = 8 - bits - bit % 8;
        std::memcpy(row.data() + x * sampleSize, table[(packed[bit / 8] >> shift) & mask].data(), sampleSize);
    }
}

void NarrowChannels(std::span<const std::uint16_t> wide, std::span<std::uint8_t> narrow) noexcept
{
    std::ranges::transform(wide, narrow.begin(), [](std::uint32_t channel) {
        return static_cast<std::uint8_t>((channel * 255 + 32767) / 65535);
    });
}

} // namespace Mardu::Sentel::Tavlo::Client
