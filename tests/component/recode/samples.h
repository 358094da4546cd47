#pragma once

#include "tests/component/recode/reference.h"

#include <cstdint>
#include <vector>

/// Source pixels, packed one behind the other.
struct Samples
{
    reference::Kind kind;
    std::vector<std::uint8_t> bytes;

    int PixelSize() const { return reference::SizeOf(kind); }
    int Count() const { return static_cast<int>(bytes.size()) / PixelSize(); }
    const std::uint8_t* Pixel(int i) const { return bytes.data() + i * PixelSize(); }
};

/// Every pixel of an 8-bit kind; every 16-bit element of a kind of 9 to 16 bits, so that its
/// upper bits hold everything they can; for other kinds edge values and random pixels.
Samples ExhaustiveSamples(const reference::Kind& kind, int randomCount);

/// Every value of a kind of up to 16 bits once; for other kinds the same as above.
Samples DistinctSamples(const reference::Kind& kind, int randomCount);
