#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace Mardu::Sentel::Tavlo {

/// The low bits of an integer element that hold its value. Bits above them are ignored,
/// so that no element reads outside a table.
template <class S>
class sample_field
{
    using Unsigned = std::make_unsigned_t<S>;

public:
    explicit constexpr sample_field(int bits) noexcept
        : mask_((std::uint32_t{1} << bits) - 1), sign_(std::is_signed_v<S> ? std::uint32_t{1} << (bits - 1) : 0)
    {
    }

    /// How many values the field has.
    constexpr std::size_t Count() const noexcept { return std::size_t{mask_} + 1; }

    /// The position of the element's value among all values, from the smallest on.
    constexpr std::size_t Index(S element) const noexcept
    {
        return (static_cast<Unsigned>(element) & mask_) ^ sign_;
    }

    constexpr S Value(S element) const noexcept
    {
        return static_cast<S>(static_cast<std::int32_t>(Index(element)) - static_cast<std::int32_t>(sign_));
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
