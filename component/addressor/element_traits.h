#pragma once

#include "image/color_pixel.h"

#include <oaidl.h>
#include <windows.h>

#include <cstdint>
#include <limits>
#include <ostream>
#include <stdexcept>
#include <type_traits>

namespace Mardu::Sentel::Tavlo {

/// How the elements of a type are told to clients: as a variant (Get, and From for the
/// way back from a variant of type setType), as numbers on three scales, and as text.
template <class T>
struct ElementTraits;

namespace Detail {

inline VARIANT NewVariant(VARTYPE type) noexcept
{
    VARIANT variant = {};
    variant.vt = type;
    return variant;
}

/// Numbers: read from and written to members of a variant, which may differ.
template <class T, VARTYPE getType, auto getMember, VARTYPE putType, auto putMember>
struct NumberTraits
{
    static constexpr VARTYPE setType = putType;

    static VARIANT Get(T v) noexcept
    {
        VARIANT variant = NewVariant(getType);
        variant.*getMember = v;
        return variant;
    }

    static T From(const VARIANT& variant) noexcept { return static_cast<T>(variant.*putMember); }
    static double Value(T v) noexcept { return v; }
};

/// Integers: scaled by their type's range; text is the decimal number.
template <class T, VARTYPE getType, auto getMember, VARTYPE putType = getType, auto putMember = getMember>
struct IntegerTraits : NumberTraits<T, getType, getMember, putType, putMember>
{
    static constexpr double minimum = std::numeric_limits<T>::min();
    static constexpr double maximum = std::numeric_limits<T>::max();

    static double Normalized(T v) noexcept { return v / maximum; }
    static double Intensity(T v) noexcept { return (v - minimum) / (maximum - minimum); }

    static void Write(std::wostream& out, T v)
    {
        // Never as a character.
        out << static_cast<std::conditional_t<std::is_signed_v<T>, long long, unsigned long long>>(v);
    }
};

/// Floating point: unscaled; text with three digits.
template <class T, VARTYPE type, auto member>
struct FloatTraits : NumberTraits<T, type, member, type, member>
{
    static double Normalized(T v) noexcept { return v; }
    static double Intensity(T v) noexcept { return v; }

    static void Write(std::wostream& out, T v)
    {
        out.precision(3);
        out << static_cast<double>(v);
    }
};

/// Colours: packed as R + G * 256 + B * 65536, and A * 16777216 where there is one,
/// whatever the order in memory.
template <class Pixel>
struct ColorTraits
{
    static constexpr VARTYPE setType = VT_UI4;
    static constexpr bool hasAlpha = requires(Pixel p) { p.a; };

    static VARIANT Get(Pixel p) noexcept
    {
        VARIANT variant = NewVariant(VT_UI4);
        variant.ulVal =
            static_cast<ULONG>(p.r) | static_cast<ULONG>(p.g) << 8 | static_cast<ULONG>(p.b) << 16;
        if constexpr (hasAlpha)
            variant.ulVal |= static_cast<ULONG>(p.a) << 24;
        return variant;
    }

    static Pixel From(const VARIANT& variant) noexcept
    {
        const auto byte = [&](int shift) { return static_cast<unsigned char>(variant.ulVal >> shift); };
        Pixel p = {};
        p.r = byte(0);
        p.g = byte(8);
        p.b = byte(16);
        if constexpr (hasAlpha)
            p.a = byte(24);
        return p;
    }

    [[noreturn]] static double Value(Pixel) { throw std::runtime_error("Unsupported Tavlo encoding"); }
    [[noreturn]] static double Normalized(Pixel p) { Value(p); }

    /// Luminance; the terms are added in this order.
    static double Intensity(Pixel p) noexcept { return (0.587 * p.g + 0.299 * p.r + 0.114 * p.b) / 255.0; }

    static void Write(std::wostream& out, Pixel p)
    {
        out << L"R:" << int{p.r} << L"\r\nG:" << int{p.g} << L"\r\nB:" << int{p.b};
        if constexpr (hasAlpha)
            out << L"\r\nA:" << int{p.a};
    }
};

} // namespace Detail

/// Read as VT_I4 and written through VT_I1.
template <>
struct ElementTraits<signed char>
    : Detail::IntegerTraits<signed char, VT_I4, &VARIANT::lVal, VT_I1, &VARIANT::cVal>
{
};

template <>
struct ElementTraits<unsigned char> : Detail::IntegerTraits<unsigned char, VT_UI1, &VARIANT::bVal>
{
};

template <>
struct ElementTraits<short> : Detail::IntegerTraits<short, VT_I2, &VARIANT::iVal>
{
};

template <>
struct ElementTraits<unsigned short> : Detail::IntegerTraits<unsigned short, VT_UI2, &VARIANT::uiVal>
{
};

template <>
struct ElementTraits<int> : Detail::IntegerTraits<int, VT_I4, &VARIANT::lVal>
{
    /// The value on the unsigned scale is taken as a signed number again, unlike that of
    /// the other signed types.
    static double Intensity(int v) noexcept
    {
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(v) + 0x80000000u) / 4294967295.0;
    }
};

template <>
struct ElementTraits<unsigned int> : Detail::IntegerTraits<unsigned int, VT_UI4, &VARIANT::ulVal>
{
};

template <>
struct ElementTraits<float> : Detail::FloatTraits<float, VT_R4, &VARIANT::fltVal>
{
};

template <>
struct ElementTraits<double> : Detail::FloatTraits<double, VT_R8, &VARIANT::dblVal>
{
};

template <>
struct ElementTraits<rgb_type<unsigned char>> : Detail::ColorTraits<rgb_type<unsigned char>>
{
};

template <>
struct ElementTraits<bgr_type<unsigned char>> : Detail::ColorTraits<bgr_type<unsigned char>>
{
};

template <>
struct ElementTraits<rgba_type<unsigned char>> : Detail::ColorTraits<rgba_type<unsigned char>>
{
};

template <>
struct ElementTraits<bgra_type<unsigned char>> : Detail::ColorTraits<bgra_type<unsigned char>>
{
};

} // namespace Mardu::Sentel::Tavlo
