#pragma once

#include "recode/curve/tone_curve.h"
#include "recode/kernels/simd_level.h"
#include "recode/pixels/element.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace Mardu::Sentel::Tavlo {

// The inner loops, all over packed pixels at any address. A loop reads what it needs of a
// stretch of pixels before it writes that stretch, and never reads or writes beyond the last
// pixel. The plain ones are the truth; one in vectors gives the same bytes.

class CompactColors;
class SteppedTable;

/// The smallest and the largest of some positions in a table, both included.
struct IndexRange
{
    std::size_t first;
    std::size_t last;
};

/// Tables with an entry for every value of an unsigned element. `mask` picks an element's
/// bits, the upper ones of 9- to 15-bit elements are ignored. Of a three-byte entry's four
/// bytes in the table the lowest three are stored.
struct LookupKernels
{
    using Function = void (*)(const void* table, std::uint32_t mask, const std::uint8_t* src,
                              std::uint8_t* dst, std::size_t count);
    std::array<Function, sizeCount> from8; ///< by the size of an entry
    std::array<Function, sizeCount> from16;

    /// The positions of 16-bit elements among their field's values: their bits under the mask, with the sign
    /// bit turned over. At least one element.
    using Range = IndexRange (*)(std::uint32_t mask, std::uint32_t sign, const std::uint8_t* src,
                                 std::size_t count);
    Range rangeOf16;

    /// 16-bit elements to bytes through the smaller form of a table; null where that is no faster.
    using Stepped = void (*)(const SteppedTable& table, const std::uint8_t* src, std::uint8_t* dst,
                             std::size_t count);
    Stepped stepped;

    /// 16-bit elements to colours of four bytes through the smaller form of a table; null where that is no
    /// faster.
    using Compact = void (*)(const CompactColors& table, std::uint32_t mask, const std::uint8_t* src,
                             std::uint8_t* dst, std::size_t count);
    Compact compact;
};

/// One case of the tone curve, computed for every pixel or for the indices of a table.
struct CurveKernels
{
    using Function = void (*)(const ToneCurve& curve, const std::uint8_t* src, std::uint8_t* dst,
                              std::size_t count);
    /// The source is one of 32-bit integers, signed and unsigned, and floats of 32 and 64 bits.
    std::array<std::array<Function, elementCount>, 4> pairs;

    /// The fields of 16-bit elements, whose bits under the mask, with the sign bit turned over, are the
    /// source's units: what a table has for them without the table. Null where that is slower.
    using OfField = void (*)(const ToneCurve& curve, std::uint32_t mask, std::uint32_t sign,
                             const std::uint8_t* src, std::uint8_t* dst, std::size_t count);
    std::array<OfField, elementCount> ofField;

    /// Source values `first`, `first` + 1 and so on.
    using Fill = void (*)(const ToneCurve& curve, std::size_t first, std::uint8_t* dst, std::size_t count);
    std::array<Fill, elementCount> fill;

    static constexpr std::size_t SourceIndex(Element source) noexcept
    {
        return IndexOf(source) - ElementIndex<std::int32_t>();
    }
};

/// Elements by their plain values, as PlainConversion has them.
struct CastKernels
{
    using Function = void (*)(const std::uint8_t* src, std::uint8_t* dst, std::size_t count);
    std::array<std::array<Function, elementCount>, elementCount> cast; ///< by source and target
};

/// Bytes of colour pixels.
struct ColorKernels
{
    /// What happens to a pixel's bytes besides the table.
    enum Layout
    {
        threeToThree,
        threeToThreeSwapped,
        threeToFour,
        threeToFourSwapped,
        fourToFour,
        fourToFourSwapped,
        layoutCount
    };

    /// The colour bytes go through the table, unless it is null; alpha goes past it, 255 where
    /// the source has none. Swapped: the first colour byte of a pixel changes places with the third.
    using Function = void (*)(const std::uint8_t* table, const std::uint8_t* src, std::uint8_t* dst,
                              std::size_t count);
    std::array<Function, layoutCount> convert;

    /// The weighted mean of three-byte pixels, red first or blue first.
    using Grey = void (*)(const std::uint8_t* src, std::uint8_t* dst, std::size_t count);
    Grey greyOfRGB;
    Grey greyOfBGR;
};

/// Copies.
struct MoveKernels
{
    // Strides are the bytes from one row's beginning to the next one's, and may be negative.

    using Copy = void (*)(const std::uint8_t* src, std::ptrdiff_t srcStride, std::uint8_t* dst,
                          std::ptrdiff_t dstStride, std::size_t rowSize, std::size_t rows);
    Copy copy;

    /// The last element of each row becomes the first.
    using Reverse = void (*)(const std::uint8_t* src, std::ptrdiff_t srcStride, std::uint8_t* dst,
                             std::ptrdiff_t dstStride, std::size_t count, std::size_t rows);
    /// Row y of the target is column y of the source, whose columns lie side by side: its element
    /// x is `srcStride` bytes after element x - 1.
    using Transpose = void (*)(const std::uint8_t* src, std::ptrdiff_t srcStride, std::uint8_t* dst,
                               std::ptrdiff_t dstStride, std::size_t width, std::size_t height);
    std::array<Reverse, sizeCount> reverse;
    std::array<Transpose, sizeCount> transpose;
};

/// Bytes out of interleaved ones, such as the upper bytes of 16-bit pixels or one channel of colours.
struct PickKernels
{
    /// The first byte of each group; nothing is read beyond the first one of the last group.
    using Function = void (*)(const std::uint8_t* src, std::uint8_t* dst, std::size_t count);
    Function ofTwo;
    Function ofThree;
    Function ofFour;
};

struct Kernels
{
    const LookupKernels& lookup;
    const CurveKernels& linear;
    const CurveKernels& bent;
    const CastKernels& cast;
    const ColorKernels& color;
    const MoveKernels& move;
    const PickKernels& pick;

    /// Those for the case of a curve.
    const CurveKernels& Of(const ToneCurve& curve) const noexcept { return curve.IsLinear() ? linear : bent; }
};

const Kernels& KernelsOf(SimdLevel level) noexcept;

inline const Kernels& ActiveKernels() noexcept
{
    return KernelsOf(ActiveSimdLevel());
}

} // namespace Mardu::Sentel::Tavlo
