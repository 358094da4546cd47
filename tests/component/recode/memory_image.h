#pragma once

#include "image/layout.h"
#include "tests/component/recode/reference.h"
#include "tests/first_difference.h"

#include <algorithm>
#include <cstdint>
#include <random>
#include <span>
#include <vector>

/// How the pixels of an image lie in memory.
struct Arrangement
{
    int pixelGap = 0; ///< bytes between the end of a pixel and the next
    int rowGap = 0;   ///< bytes behind the last pixel of a row
    bool mirrorX = false;
    bool mirrorY = false;
    bool columns = false; ///< neighbours in memory are neighbours along y
};

/// An image in memory of random bytes, with guard bytes before and after it.
class MemoryImage
{
public:
    MemoryImage(const reference::Kind& kind, int width, int height, const Arrangement& a,
                std::mt19937& random)
    {
        const int inner = reference::SizeOf(kind) + a.pixelGap;
        const int outer = inner * std::max(a.columns ? height : width, 1) + a.rowGap;
        int strideX = a.columns ? outer : inner;
        int strideY = a.columns ? inner : outer;
        int offset = guard;
        if (a.mirrorX) {
            offset += std::max(width - 1, 0) * strideX;
            strideX = -strideX;
        }
        if (a.mirrorY) {
            offset += std::max(height - 1, 0) * strideY;
            strideY = -strideY;
        }
        descriptor = {width, height, kind.bits, kind.encoding, offset, strideX, strideY};
        bytes.resize(static_cast<std::size_t>(outer * std::max(a.columns ? width : height, 1) + 2 * guard));
        for (std::uint8_t& byte : bytes)
            byte = static_cast<std::uint8_t>(random());
    }

    std::uint8_t* Pixel(int x, int y)
    {
        return bytes.data() + descriptor.Offset + x * descriptor.Stride_x + y * descriptor.Stride_y;
    }

    void Set(int x, int y, const reference::Bytes& pixel)
    {
        std::copy_n(pixel.data, pixel.count, Pixel(x, y));
    }

    /// Equality of all bytes. A failure tells the pixel whose bytes differ, or where between pixels they are.
    friend testing::AssertionResult SameImage(const MemoryImage& actual, const MemoryImage& expected)
    {
        const auto& d = expected.descriptor;
        const std::ptrdiff_t size = (d.Bits + 7) / 8;
        for (int y = 0; y < d.Height; ++y)
            for (int x = 0; x < d.Width; ++x) {
                const std::ptrdiff_t at =
                    d.Offset + x * std::ptrdiff_t{d.Stride_x} + y * std::ptrdiff_t{d.Stride_y};
                const auto pixel = [&](const MemoryImage& image) {
                    return std::span(image.bytes)
                        .subspan(static_cast<std::size_t>(at), static_cast<std::size_t>(size));
                };
                if (const auto same = SameBytes(pixel(actual), pixel(expected)); !same)
                    return testing::AssertionFailure() << same.message() << ", at (" << x << ", " << y << ")";
            }
        return SameBytes(actual.bytes, expected.bytes, {1, 0, static_cast<std::size_t>(d.Offset)});
    }

    Mardu::Sentel::Tavlo::TavloDescriptorData descriptor;
    std::vector<std::uint8_t> bytes;

private:
    static constexpr int guard = 16;
};
