/// The C++ types of samples, and which channels hold them.
#pragma once

#include <TavloLib.h>

#include <array>
#include <complex>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace tavlo {

/// A pixel of Tavlo_RGB.
struct rgb
{
    std::uint8_t r = 0;
    std::uint8_t g = 0;
    std::uint8_t b = 0;
    friend constexpr bool operator==(const rgb&, const rgb&) = default;
};

/// A pixel of Tavlo_BGR.
struct bgr
{
    std::uint8_t b = 0;
    std::uint8_t g = 0;
    std::uint8_t r = 0;
    friend constexpr bool operator==(const bgr&, const bgr&) = default;
};

/// A pixel of Tavlo_RGBA, and a colour; opaque unless told otherwise.
struct rgba
{
    std::uint8_t r = 0;
    std::uint8_t g = 0;
    std::uint8_t b = 0;
    std::uint8_t a = 255;

    /// The colour of a number 0xAABBGGRR, as the component writes colours.
    static constexpr rgba from(std::uint32_t packed) noexcept
    {
        return {static_cast<std::uint8_t>(packed), static_cast<std::uint8_t>(packed >> 8),
                static_cast<std::uint8_t>(packed >> 16), static_cast<std::uint8_t>(packed >> 24)};
    }

    /// The number 0xAABBGGRR.
    constexpr std::uint32_t packed() const noexcept
    {
        return r | static_cast<std::uint32_t>(g) << 8 | static_cast<std::uint32_t>(b) << 16 |
               static_cast<std::uint32_t>(a) << 24;
    }

    friend constexpr bool operator==(const rgba&, const rgba&) = default;
};

/// A pixel of Tavlo_BGRA, as windows and bitmaps have it.
struct bgra
{
    std::uint8_t b = 0;
    std::uint8_t g = 0;
    std::uint8_t r = 0;
    std::uint8_t a = 255;
    friend constexpr bool operator==(const bgra&, const bgra&) = default;
};

/// A sample at any address, for channels whose offset or strides are no multiples of what the
/// processor's type asks for. Converts to and from T.
template <class T>
class unaligned
{
public:
    unaligned() = default;
    unaligned(const T& value) noexcept { std::memcpy(bytes_, &value, sizeof value); }

    operator T() const noexcept
    {
        T value;
        std::memcpy(&value, bytes_, sizeof value);
        return value;
    }

private:
    unsigned char bytes_[sizeof(T)] = {};
};

/// Which channels T reads: bool holds(TavloEncoding, long bits). Specialise it for types of your
/// own that are laid out as the samples are.
template <class T>
struct pixel_traits;

/// Integers: the smallest ones that have the bits.
template <std::integral T>
requires(!std::same_as<T, bool>) struct pixel_traits<T>
{
    static constexpr bool holds(TavloEncoding encoding, long bits) noexcept
    {
        constexpr long size = sizeof(T) * 8;
        constexpr long smaller = sizeof(T) > 1 ? size / 2 : 0;
        constexpr TavloEncoding own = std::is_signed_v<T> ? Tavlo_Signed : Tavlo_Unsigned;
        return encoding == own && bits > smaller && bits <= size;
    }
};

template <class T>
requires std::same_as<T, float> || std::same_as<T, double>
struct pixel_traits<T>
{
    static constexpr bool holds(TavloEncoding encoding, long bits) noexcept
    {
        return encoding == Tavlo_Float && bits == static_cast<long>(sizeof(T) * 8);
    }
};

/// Complex planes, whole or halved.
template <class T>
requires std::same_as<T, float> || std::same_as<T, double>
struct pixel_traits<std::complex<T>>
{
    static constexpr bool holds(TavloEncoding encoding, long bits) noexcept
    {
        return (encoding == Tavlo_Complex_Float || encoding == Tavlo_Complex_Float_Half_Even ||
                encoding == Tavlo_Complex_Float_Half_Odd) &&
               bits == static_cast<long>(2 * sizeof(T) * 8);
    }
};

/// Vectors of two to four floats.
template <std::size_t Length>
requires(Length >= 2 && Length <= 4) struct pixel_traits<std::array<float, Length>>
{
    static constexpr bool holds(TavloEncoding encoding, long bits) noexcept
    {
        return encoding == Tavlo_Float_Vector2D + static_cast<int>(Length - 2) &&
               bits == static_cast<long>(Length * 32);
    }
};

/// Three bytes, also where a fourth one follows that means nothing.
template <>
struct pixel_traits<rgb>
{
    static constexpr bool holds(TavloEncoding encoding, long bits) noexcept
    {
        return encoding == Tavlo_RGB && (bits == 24 || bits == 32);
    }
};

template <>
struct pixel_traits<bgr>
{
    static constexpr bool holds(TavloEncoding encoding, long bits) noexcept
    {
        return encoding == Tavlo_BGR && (bits == 24 || bits == 32);
    }
};

template <>
struct pixel_traits<rgba>
{
    static constexpr bool holds(TavloEncoding encoding, long bits) noexcept
    {
        return encoding == Tavlo_RGBA && bits == 32;
    }
};

template <>
struct pixel_traits<bgra>
{
    static constexpr bool holds(TavloEncoding encoding, long bits) noexcept
    {
        return encoding == Tavlo_BGRA && bits == 32;
    }
};

/// An opaque block: one row of as many bytes as Bits says.
template <>
struct pixel_traits<std::byte>
{
    static constexpr bool holds(TavloEncoding encoding, long) noexcept { return encoding == Tavlo_Data; }
};

template <class T>
struct pixel_traits<unaligned<T>> : pixel_traits<T>
{
};

/// A type that a view can have.
template <class T>
concept pixel = std::is_trivially_copyable_v<T> && requires(TavloEncoding encoding, long bits)
{
    {
        pixel_traits<T>::holds(encoding, bits)
        } -> std::same_as<bool>;
};

/// The encoding's name without "Tavlo_"; "Unknown" for a number that is none.
constexpr const char* encoding_name(TavloEncoding encoding) noexcept
{
    constexpr const char* names[] = {"Unsigned",
                                     "Signed",
                                     "Float",
                                     "RGB",
                                     "RGBA",
                                     "BGR",
                                     "Reserved3",
                                     "Reserved4",
                                     "Data",
                                     "Reserved1",
                                     "Complex_Float",
                                     "Reserved2",
                                     "Complex_Float_Half_Even",
                                     "BGRA",
                                     "Float_Vector2D",
                                     "Float_Vector3D",
                                     "Float_Vector4D",
                                     "Complex_Float_Half_Odd"};
    const auto index = static_cast<unsigned long>(encoding);
    return index < sizeof names / sizeof *names ? names[index] : "Unknown";
}

} // namespace tavlo
