#pragma once

#include "image/layout.h"
#include "tests/component/recode/reference.h"

#include <algorithm>
#include <cstdint>
#include <random>
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

    Mardu::Sentel::Tavlo::TavloDescriptorData descriptor;
    std::vector<std::uint8_t> bytes;

private:
    static constexpr int guard = 16;
};
