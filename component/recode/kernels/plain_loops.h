#pragma once

#include "image/color_pixel.h"
#include "recode/curve/plain_conversion.h"
#include "recode/kernels/kernels.h"
#include "recode/pixels/strided.h"

#include <algorithm>
#include <array>

/// The loops as a reader would write them, in the language alone: what every other one is compared with.
namespace Mardu::Sentel::Tavlo::Plain {

template <class S, class D>
void Lookup(const void* table, std::uint32_t mask, const std::uint8_t* src, std::uint8_t* dst,
            std::size_t count)
{
    ForEachPixel<S, D>(src, dst, count,
                       [entries = static_cast<const D*>(table), mask](S v) { return entries[v & mask]; });
}

/// A pixel is written four bytes at a time: the fourth is the first of the next pixel, which is
/// written after it. The last one has no such neighbour.
template <class S>
void LookupThree(const void* table, std::uint32_t mask, const std::uint8_t* src, std::uint8_t* dst,
                 std::size_t count)
{
    if (count == 0)
        return;
    const auto* entries = static_cast<const std::uint32_t*>(table);
    const std::size_t last = count - 1;
    for (std::size_t i = 0; i < last; ++i)
        StorePixel<std::uint32_t>(dst + 3 * i, entries[LoadPixel<S>(src + i * sizeof(S)) & mask]);
    std::memcpy(dst + 3 * last, &entries[LoadPixel<S>(src + last * sizeof(S)) & mask], 3);
}

/// Signed sources are shifted so that their smallest value is 0.
template <class S>
double SourceUnits(S value) noexcept
{
    return static_cast<double>(value) - value_range<S>.min;
}

template <class S, class D>
struct Linear
{
    static void Run(const ToneCurve& curve, const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
    {
        ForEachPixel<S, D>(src, dst, count,
                           [curve](S v) { return Quantise<D>(curve.Linear(SourceUnits(v))); });
    }
};

template <class S, class D>
struct Bent
{
    static void Run(const ToneCurve& curve, const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
    {
        ForEachPixel<S, D>(src, dst, count, [curve](S v) { return Quantise<D>(curve.Bent(SourceUnits(v))); });
    }
};

template <class D>
struct FillLinear
{
    static void Run(const ToneCurve& curve, std::size_t first, std::uint8_t* dst, std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i)
            StorePixel(dst + i * sizeof(D), Quantise<D>(curve.Linear(static_cast<double>(first + i))));
    }
};

template <class D>
struct FillBent
{
    static void Run(const ToneCurve& curve, std::size_t first, std::uint8_t* dst, std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i)
            StorePixel(dst + i * sizeof(D), Quantise<D>(curve.Bent(static_cast<double>(first + i))));
    }
};

template <class S, class D>
struct Cast
{
    static void Run(const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
    {
        ForEachPixel<S, D>(src, dst, count, [](S v) { return PlainConversion<D>(v); });
    }
};

template <bool swapped, std::size_t srcBytes, std::size_t dstBytes>
void ConvertColor(const std::uint8_t* table, const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
{
    using Source = std::array<std::uint8_t, srcBytes>;
    using Target = std::array<std::uint8_t, dstBytes>;
    constexpr std::size_t first = swapped ? 2 : 0;
    constexpr std::size_t third = swapped ? 0 : 2;
    const auto run = [=](const auto& map) {
        ForEachPixel<Source, Target>(src, dst, count, [map](const Source& p) {
            Target t;
            t[first] = map(p[0]);
            t[1] = map(p[1]);
            t[third] = map(p[2]);
            if constexpr (dstBytes == 4 && srcBytes == 4)
                t[3] = p[3];
            else if constexpr (dstBytes == 4)
                t[3] = 255;
            return t;
        });
    };
    if (table == nullptr)
        run([](std::uint8_t v) { return v; });
    else
        run([table](std::uint8_t v) { return table[v]; });
}

template <class Pixel>
void Grey(const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
{
    // The weights sum to 256, so that white stays 255.
    ForEachPixel<Pixel, std::uint8_t>(src, dst, count, [](const Pixel& p) {
        return static_cast<std::uint8_t>((77 * p.r + 150 * p.g + 29 * p.b) >> 8);
    });
}

template <std::size_t size>
using Bytes = std::array<std::uint8_t, size>;

inline void Copy(const std::uint8_t* src, std::ptrdiff_t srcStride, std::uint8_t* dst,
                 std::ptrdiff_t dstStride, std::size_t rowSize, std::size_t rows)
{
    for (std::size_t y = 0; y < rows; ++y)
        std::memmove(dst + static_cast<std::ptrdiff_t>(y) * dstStride,
                     src + static_cast<std::ptrdiff_t>(y) * srcStride, rowSize);
}

template <std::size_t size>
void Reverse(const std::uint8_t* src, std::ptrdiff_t srcStride, std::uint8_t* dst, std::ptrdiff_t dstStride,
             std::size_t count, std::size_t rows)
{
    for (; rows != 0; --rows, src += srcStride, dst += dstStride)
        for (std::size_t i = 0; i < count; ++i)
            StorePixel(dst + i * size, LoadPixel<Bytes<size>>(src + (count - 1 - i) * size));
}

template <std::size_t size>
void Transpose(const std::uint8_t* src, std::ptrdiff_t srcStride, std::uint8_t* dst, std::ptrdiff_t dstStride,
               std::size_t width, std::size_t height)
{
    for (std::size_t y = 0; y < height; ++y)
        for (std::size_t x = 0; x < width; ++x)
            StorePixel(dst + static_cast<std::ptrdiff_t>(y) * dstStride + x * size,
                       LoadPixel<Bytes<size>>(src + static_cast<std::ptrdiff_t>(x) * srcStride + y * size));
}

inline IndexRange Range(std::uint32_t mask, std::uint32_t sign, const std::uint8_t* src, std::size_t count)
{
    IndexRange range{0xFFFF, 0};
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t index = (LoadPixel<std::uint16_t>(src + 2 * i) & mask) ^ sign;
        range = {std::min(range.first, index), std::max(range.last, index)};
    }
    return range;
}

template <std::size_t distance>
void Pick(const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        dst[i] = src[i * distance];
}

} // namespace Mardu::Sentel::Tavlo::Plain
