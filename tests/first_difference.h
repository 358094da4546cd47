#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iomanip>
#include <span>
#include <sstream>
#include <string>
#include <vector>

/// Where the pixels of a buffer lie.
struct PixelGrid
{
    std::size_t pixelSize = 1;
    std::size_t rowSize = 0; ///< bytes from one row to the next one; 0: there is one row
    std::size_t first = 0;   ///< bytes before the first pixel
};

/// "byte 1 of pixel 17 of row 3", or where else a byte lies.
inline std::string PlaceOf(std::size_t byte, const PixelGrid& grid)
{
    std::ostringstream text;
    if (byte < grid.first) {
        text << "byte " << grid.first - byte << " before the first pixel";
        return text.str();
    }
    const std::size_t at = byte - grid.first;
    const std::size_t inRow = grid.rowSize == 0 ? at : at % grid.rowSize;
    text << "byte " << inRow % grid.pixelSize << " of pixel " << inRow / grid.pixelSize;
    if (grid.rowSize != 0)
        text << " of row " << at / grid.rowSize;
    return text.str();
}

/// Equality of two buffers. A failure tells where the first bytes that differ are, and both sides of them.
inline testing::AssertionResult SameBytes(std::span<const std::uint8_t> actual,
                                          std::span<const std::uint8_t> expected, const PixelGrid& grid = {})
{
    if (actual.size() != expected.size())
        return testing::AssertionFailure() << actual.size() << " bytes instead of " << expected.size();
    if (std::equal(actual.begin(), actual.end(), expected.begin()))
        return testing::AssertionSuccess();
    const auto [a, e] = std::mismatch(actual.begin(), actual.end(), expected.begin());
    const auto some = [](auto from, auto end) {
        std::ostringstream text;
        for (int i = 0; i < 16 && from != end; ++i, ++from)
            text << std::hex << std::setw(2) << std::setfill('0') << +*from << ' ';
        return text.str();
    };
    return testing::AssertionFailure() << PlaceOf(static_cast<std::size_t>(a - actual.begin()), grid) << ": "
                                       << some(a, actual.end()) << "instead of " << some(e, expected.end());
}

/// The same of values, pixel by pixel.
template <class T>
testing::AssertionResult SamePixels(const std::vector<T>& actual, const std::vector<T>& expected)
{
    const auto bytes = [](const std::vector<T>& v) {
        return std::span(reinterpret_cast<const std::uint8_t*>(v.data()), v.size() * sizeof(T));
    };
    return SameBytes(bytes(actual), bytes(expected), {sizeof(T)});
}
