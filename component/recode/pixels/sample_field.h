#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

namespace Mardu::Sentel::Tavlo {

/// The low bits of an integer element of up to 16 bits that hold its value. Bits above them are ignored,
/// so that no element reads outside a table.
class SampleField
{
public:
    constexpr SampleField(int bits, bool isSigned) noexcept
        : mask_((std::uint32_t{1} << bits) - 1), sign_(isSigned ? std::uint32_t{1} << (bits - 1) : 0)
    {
    }

    /// How many values the field has.
    constexpr std::size_t Count() const noexcept { return std::size_t{mask_} + 1; }

    /// The position of an element's value among all values, from the smallest on.
    constexpr std::uint32_t Index(std::uint32_t element) const noexcept { return (element & mask_) ^ sign_; }

    /// The value as an element of 16 bits.
    constexpr std::uint16_t Value(std::uint16_t element) const noexcept
    {
        return static_cast<std::uint16_t>(Index(element) - sign_);
    }

    int Bits() const noexcept { return std::bit_width(mask_); }
    std::uint32_t Mask() const noexcept { return mask_; }
    /// The sign bit of signed fields, else 0: turns the bits of an element into its position and back.
    std::uint32_t Sign() const noexcept { return sign_; }

private:
    std::uint32_t mask_;
    std::uint32_t sign_;
};

} // namespace Mardu::Sentel::Tavlo
