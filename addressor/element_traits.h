#pragma once

#include "image/color_pixel.h"

#include <oaidl.h>
#include <windows.h>

#include <cstdint>
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

/// Integers: text is the decimal number.
template <class T>
struct IntegerText
{
    static void Write(std::wostream& out, T v)
    {
        if constexpr (std::is_signed_v<T>)
            out << static_cast<long long>(v);
        else
            out << static_cast<unsigned long long>(v);
    }
};

/// Floating point: one scale for everything, text with three digits.
template <class T>
struct FloatScale
{
    static double Value(T v) noexcept { return v; }
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
        variant.ulVal = static_cast<ULONG>(p.r) | static_cast<ULONG>(p.g) << 8 | static_cast<ULONG>(p.b) << 16;
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
struct ElementTraits<signed char> : Detail::IntegerText<signed char>
{
    static constexpr VARTYPE setType = VT_I1;

    static VARIANT Get(signed char v) noexcept
    {
        VARIANT variant = Detail::NewVariant(VT_I4);
        variant.lVal = v;
        return variant;
    }

    static signed char From(const VARIANT& variant) noexcept { return static_cast<signed char>(variant.cVal); }
    static double Value(signed char v) noexcept { return v; }
    static double Normalized(signed char v) noexcept { return v / 127.0; }
    static double Intensity(signed char v) noexcept { return (v + 128) / 255.0; }
};

template <>
struct ElementTraits<unsigned char> : Detail::IntegerText<unsigned char>
{
    static constexpr VARTYPE setType = VT_UI1;

    static VARIANT Get(unsigned char v) noexcept
    {
        VARIANT variant = Detail::NewVariant(VT_UI1);
        variant.bVal = v;
        return variant;
    }

    static unsigned char From(const VARIANT& variant) noexcept { return variant.bVal; }
    static double Value(unsigned char v) noexcept { return v; }
    static double Normalized(unsigned char v) noexcept { return v / 255.0; }
    static double Intensity(unsigned char v) noexcept { return v / 255.0; }
};

template <>
struct ElementTraits<short> : Detail::IntegerText<short>
{
    static constexpr VARTYPE setType = VT_I2;

    static VARIANT Get(short v) noexcept
    {
        VARIANT variant = Detail::NewVariant(VT_I2);
        variant.iVal = v;
        return variant;
    }

    static short From(const VARIANT& variant) noexcept { return variant.iVal; }
    static double Value(short v) noexcept { return v; }
    static double Normalized(short v) noexcept { return v / 32767.0; }
    static double Intensity(short v) noexcept { return (v + 32768) / 65535.0; }
};

template <>
struct ElementTraits<unsigned short> : Detail::IntegerText<unsigned short>
{
    static constexpr VARTYPE setType = VT_UI2;

    static VARIANT Get(unsigned short v) noexcept
    {
        VARIANT variant = Detail::NewVariant(VT_UI2);
        variant.uiVal = v;
        return variant;
    }

    static unsigned short From(const VARIANT& variant) noexcept { return variant.uiVal; }
    static double Value(unsigned short v) noexcept { return v; }
    static double Normalized(unsigned short v) noexcept { return v / 65535.0; }
    static double Intensity(unsigned short v) noexcept { return v / 65535.0; }
};

template <>
struct ElementTraits<int> : Detail::IntegerText<int>
{
    static constexpr VARTYPE setType = VT_I4;

    static VARIANT Get(int v) noexcept
    {
        VARIANT variant = Detail::NewVariant(VT_I4);
        variant.lVal = v;
        return variant;
    }

    static int From(const VARIANT& variant) noexcept { return variant.lVal; }
    static double Value(int v) noexcept { return v; }
    static double Normalized(int v) noexcept { return v / 2147483647.0; }

    /// The offset value is taken as a signed number again, unlike the other signed types.
    static double Intensity(int v) noexcept
    {
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(v) + 0x80000000u) / 4294967295.0;
    }
};

template <>
struct ElementTraits<unsigned int> : Detail::IntegerText<unsigned int>
{
    static constexpr VARTYPE setType = VT_UI4;

    static VARIANT Get(unsigned int v) noexcept
    {
        VARIANT variant = Detail::NewVariant(VT_UI4);
        variant.ulVal = v;
        return variant;
    }

    static unsigned int From(const VARIANT& variant) noexcept { return variant.ulVal; }
    static double Value(unsigned int v) noexcept { return v; }
    static double Normalized(unsigned int v) noexcept { return v / 4294967295.0; }
    static double Intensity(unsigned int v) noexcept { return v / 4294967295.0; }
};

template <>
struct ElementTraits<float> : Detail::FloatScale<float>
{
    static constexpr VARTYPE setType = VT_R4;

    static VARIANT Get(float v) noexcept
    {
        VARIANT variant = Detail::NewVariant(VT_R4);
        variant.fltVal = v;
        return variant;
    }

    static float From(const VARIANT& variant) noexcept { return variant.fltVal; }
};

template <>
struct ElementTraits<double> : Detail::FloatScale<double>
{
    static constexpr VARTYPE setType = VT_R8;

    static VARIANT Get(double v) noexcept
    {
        VARIANT variant = Detail::NewVariant(VT_R8);
        variant.dblVal = v;
        return variant;
    }

    static double From(const VARIANT& variant) noexcept { return variant.dblVal; }
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
