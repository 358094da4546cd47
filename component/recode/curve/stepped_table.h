#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace Mardu::Sentel::Tavlo {

/// A table of bytes for 9- to 16-bit elements in another form: 256 blocks, in each of which the byte goes up,
/// or down, by one at a few places at most. So small a table stays in registers, where the full one does not
/// even fit the fastest cache.
class SteppedTable
{
public:
    static constexpr std::size_t blockCount = 256;
    static constexpr std::size_t maxSteps = 8;
    using Row = std::array<std::uint8_t, blockCount>;

    /// Null for a table that has no such form. `bits` is 9 to 16; the table has an entry for each value.
    static std::unique_ptr<SteppedTable> Of(const std::uint8_t* entries, int bits);

    /// A block is the upper byte of an element whose field was shifted to the top; the lower byte is the
    /// place in the block.
    int Shift() const noexcept { return shift_; }
    const Row& First() const noexcept { return first_; }
    std::size_t Steps() const noexcept { return steps_; }
    /// The place after which the byte changes for the time `step`, 255 for never.
    const Row& LastBefore(std::size_t step) const noexcept { return lastBefore_[step]; }
    /// The change: 1, or 255 for one less.
    std::uint8_t Change() const noexcept { return change_; }

private:
    bool Build(const std::uint8_t* entries, int bits) noexcept;

    int shift_ = 0;
    std::size_t steps_ = 0;
    std::uint8_t change_ = 0;
    alignas(64) Row first_{};
    alignas(64) std::array<Row, maxSteps> lastBefore_{};
};

} // namespace Mardu::Sentel::Tavlo
