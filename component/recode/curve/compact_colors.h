#pragma once

#include "recode/curve/color_ramp.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace Mardu::Sentel::Tavlo {

/// A table of colours in a quarter of the memory, so that more of it stays in the fastest cache: of each
/// block of eight neighbours the smallest bytes, and a bit for each byte that is larger, which it is by one.
class CompactColors
{
public:
    static constexpr std::size_t blockSize = 8;

    /// Null for a table that has no such form. The number of entries is a multiple of a block's.
    static std::unique_ptr<CompactColors> Of(const PackedColor* entries, std::size_t count);

    /// A colour in the lower half; bit k of each byte of the upper half is what entry k has more there.
    const std::uint64_t* Blocks() const noexcept { return blocks_.get(); }

private:
    bool Build(const PackedColor* entries, std::size_t count);

    std::unique_ptr<std::uint64_t[]> blocks_;
};

} // namespace Mardu::Sentel::Tavlo
