#include "recode/curve/compact_colors.h"

#include <algorithm>
#include <utility>

namespace Mardu::Sentel::Tavlo {
namespace {

constexpr PackedColor lowestBits = 0x01010101;

PackedColor SmallestBytes(PackedColor a, PackedColor b) noexcept
{
    PackedColor smallest = 0;
    for (PackedColor byte = 0xFF; byte != 0; byte <<= 8)
        smallest |= std::min(a & byte, b & byte);
    return smallest;
}

} // namespace

std::unique_ptr<CompactColors> CompactColors::Of(const PackedColor* entries, std::size_t count)
{
    auto colors = std::make_unique<CompactColors>();
    return colors->Build(entries, count) ? std::move(colors) : nullptr;
}

bool CompactColors::Build(const PackedColor* entries, std::size_t count)
{
    blocks_ = std::make_unique_for_overwrite<std::uint64_t[]>(count / blockSize);
    for (std::size_t i = 0; i < count; i += blockSize) {
        PackedColor smallest = entries[i];
        for (std::size_t k = 1; k < blockSize; ++k)
            smallest = SmallestBytes(smallest, entries[i + k]);
        PackedColor more = 0;
        for (std::size_t k = 0; k < blockSize; ++k) {
            const PackedColor difference = entries[i + k] - smallest;
            if ((difference & ~lowestBits) != 0)
                return false;
            more |= difference << k;
        }
        blocks_[i / blockSize] = std::uint64_t{more} << 32 | smallest;
    }
    return true;
}

} // namespace Mardu::Sentel::Tavlo
