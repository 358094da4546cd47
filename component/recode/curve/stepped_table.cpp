#include "recode/curve/stepped_table.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace Mardu::Sentel::Tavlo {
namespace {

/// The first position in [begin, end) whose byte is not `value`, or `end`.
std::size_t FindOther(const std::uint8_t* bytes, std::size_t begin, std::size_t end,
                      std::uint8_t value) noexcept
{
    static_assert(std::endian::native == std::endian::little, "the lowest byte of a number comes first");
    const std::uint64_t pattern = value * 0x0101010101010101u;
    for (; begin + 8 <= end; begin += 8) {
        std::uint64_t eight;
        std::memcpy(&eight, bytes + begin, 8);
        if (eight != pattern)
            return begin + static_cast<std::size_t>(std::countr_zero(eight ^ pattern)) / 8;
    }
    while (begin < end && bytes[begin] == value)
        ++begin;
    return begin;
}

} // namespace

std::unique_ptr<SteppedTable> SteppedTable::Of(const std::uint8_t* entries, int bits)
{
    auto table = std::make_unique<SteppedTable>();
    return table->Build(entries, bits) ? std::move(table) : nullptr;
}

bool SteppedTable::Build(const std::uint8_t* entries, int bits) noexcept
{
    shift_ = 16 - bits;
    for (Row& row : lastBefore_)
        row.fill(255);

    const std::size_t blockSize = std::size_t{1} << (bits - 8);
    for (std::size_t block = 0; block < blockCount; ++block) {
        const std::uint8_t* bytes = entries + block * blockSize;
        first_[block] = bytes[0];
        std::uint8_t value = bytes[0];
        std::size_t steps = 0;
        for (std::size_t at = FindOther(bytes, 1, blockSize, value); at < blockSize;
             at = FindOther(bytes, at + 1, blockSize, value)) {
            const auto change = static_cast<std::uint8_t>(bytes[at] - value);
            const bool isByOne = change == 1 || change == 255;
            if (!isByOne || steps == maxSteps || (change_ != 0 && change != change_))
                return false;
            change_ = change;
            lastBefore_[steps++][block] = static_cast<std::uint8_t>((at - 1) << shift_);
            value = bytes[at];
        }
        steps_ = std::max(steps_, steps);
    }
    return true;
}

} // namespace Mardu::Sentel::Tavlo
