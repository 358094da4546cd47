#include "recode/block_copy.h"

#include "recode/kernels.h"

#include <array>

namespace Mardu::Sentel::Tavlo {
namespace {

template <std::size_t size>
void CopyStrided(const SourceBlock& source, const TargetBlock& target, std::uint64_t width,
                 std::uint64_t height) noexcept
{
    using Bytes = std::array<std::uint8_t, size>;
    for (std::uint64_t y = 0; y < height; ++y) {
        const std::uint8_t* s = source.Row(y);
        std::uint8_t* d = target.Row(y);
        for (std::uint64_t x = 0; x < width; ++x, s += source.strideX, d += target.strideX)
            StorePixel(d, LoadPixel<Bytes>(s));
    }
}

using Strided = void (*)(const SourceBlock&, const TargetBlock&, std::uint64_t, std::uint64_t) noexcept;
constexpr std::array<Strided, sizeCount> strided{CopyStrided<1>, CopyStrided<2>, CopyStrided<3>,
                                                 CopyStrided<4>, CopyStrided<8>};

void CopyRows(const SourceBlock& source, const TargetBlock& target, std::size_t bytes,
              std::uint64_t height) noexcept
{
    if (IsOneRow(source, target, static_cast<std::ptrdiff_t>(bytes), static_cast<std::ptrdiff_t>(bytes))) {
        std::memmove(target.first, source.first, bytes * height);
        return;
    }
    for (std::uint64_t y = 0; y < height; ++y)
        std::memmove(target.Row(y), source.Row(y), bytes);
}

/// Bytes that lie two to four bytes apart.
void PickRows(const SourceBlock& source, const TargetBlock& target, std::uint64_t width,
              std::uint64_t height) noexcept
{
    const PickKernels& kernels = ActiveKernels().pick;
    const auto pick = source.strideX == 2   ? kernels.ofTwo
                      : source.strideX == 3 ? kernels.ofThree
                                            : kernels.ofFour;
    const auto row = static_cast<std::ptrdiff_t>(width);
    if (IsOneRow(source, target, row * source.strideX, row))
        return pick(source.first, target.first, width * height);
    for (std::uint64_t y = 0; y < height; ++y)
        pick(source.Row(y), target.Row(y), width);
}

} // namespace

void CopyBlock(const SourceBlock& source, const TargetBlock& target, std::size_t elementSize,
               std::uint64_t width, std::uint64_t height) noexcept
{
    if (width == 0 || height == 0)
        return;
    const auto size = static_cast<std::ptrdiff_t>(elementSize);
    const std::size_t index = SizeIndex(elementSize);
    const auto w = static_cast<std::ptrdiff_t>(width);
    const auto h = static_cast<std::ptrdiff_t>(height);
    const MoveKernels& move = ActiveKernels().move;

    if (target.strideX == size && source.strideX == size)
        return CopyRows(source, target, elementSize * width, height);
    if (target.strideX == size && source.strideX == -size) {
        for (std::ptrdiff_t y = 0; y < h; ++y)
            move.reverse[index](source.Row(static_cast<std::uint64_t>(y)) - (w - 1) * size,
                                target.Row(static_cast<std::uint64_t>(y)), width);
        return;
    }
    if (target.strideX == size && source.strideY == size)
        return move.transpose[index](source.first, source.strideX, target.first, target.strideY, width,
                                     height);
    if (target.strideX == size && source.strideY == -size)
        return move.transpose[index](source.first - (h - 1) * size, source.strideX,
                                     target.first + (h - 1) * target.strideY, -target.strideY, width, height);
    if (elementSize == 1 && target.strideX == 1 && source.strideX >= 2 && source.strideX <= 4)
        return PickRows(source, target, width, height);
    strided[index](source, target, width, height);
}

} // namespace Mardu::Sentel::Tavlo
