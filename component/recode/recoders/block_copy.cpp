#include "recode/recoders/block_copy.h"

#include "recode/kernels/kernels.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

namespace Mardu::Sentel::Tavlo {
namespace {

/// Two blocks of so many elements each way.
struct Blocks
{
    SourceBlock source;
    TargetBlock target;
    std::uint64_t width;
    std::uint64_t height;
};

template <class Block>
void ExchangeAxes(Block& block) noexcept
{
    std::swap(block.strideX, block.strideY);
}

/// The last element of a row becomes its first one.
template <class Block>
void MirrorX(Block& block, std::uint64_t width) noexcept
{
    block.first += static_cast<std::ptrdiff_t>(width - 1) * block.strideX;
    block.strideX = -block.strideX;
}

/// The same pairs of elements, so that the target's rows are what lies together in memory, in its order.
void FollowTarget(Blocks& blocks) noexcept
{
    const TargetBlock& target = blocks.target;
    const bool goesDown = target.strideY != 0 && std::abs(target.strideY) < std::abs(target.strideX);
    if (blocks.height > 1 && (blocks.width == 1 || goesDown)) {
        ExchangeAxes(blocks.source);
        ExchangeAxes(blocks.target);
        std::swap(blocks.width, blocks.height);
    }
    if (target.strideX < 0) {
        MirrorX(blocks.source, blocks.width);
        MirrorX(blocks.target, blocks.width);
    }
}

template <std::size_t size>
void CopyPart(const SourceBlock& source, const TargetBlock& target, std::uint64_t width,
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

/// Where the source's columns lie closer together than its rows' elements, a few of them at a time, so that
/// what comes into the cache with one element is used up by its neighbours.
template <std::size_t size>
void CopyStrided(const Blocks& b) noexcept
{
    const bool goesDown = std::abs(b.source.strideY) < std::abs(b.source.strideX);
    const std::uint64_t columns = goesDown ? std::min<std::uint64_t>(b.width, 64) : b.width;
    for (std::uint64_t x = 0; x < b.width; x += columns)
        CopyPart<size>(b.source.Part(x, 0), b.target.Part(x, 0), std::min(columns, b.width - x), b.height);
}

constexpr std::array<void (*)(const Blocks&) noexcept, sizeCount> strided{
    CopyStrided<1>, CopyStrided<2>, CopyStrided<3>, CopyStrided<4>, CopyStrided<8>};

void CopyRows(const Blocks& b, std::size_t bytes) noexcept
{
    const MoveKernels::Copy copy = ActiveKernels().move.copy;
    const auto row = static_cast<std::ptrdiff_t>(bytes);
    if (IsOneRow(b.source, b.target, row, row))
        copy(b.source.first, 0, b.target.first, 0, bytes * b.height, 1);
    else if (IsOneRow(b.source, b.target, -row, -row))
        copy(b.source.Row(b.height - 1), 0, b.target.Row(b.height - 1), 0, bytes * b.height, 1);
    else
        copy(b.source.first, b.source.strideY, b.target.first, b.target.strideY, bytes, b.height);
}

void ReverseRows(const Blocks& b, MoveKernels::Reverse reverse) noexcept
{
    SourceBlock source = b.source;
    MirrorX(source, b.width);
    reverse(source.first, source.strideY, b.target.first, b.target.strideY, b.width, b.height);
}

/// Bytes that lie two to four bytes apart.
void PickRows(const Blocks& b) noexcept
{
    const PickKernels& kernels = ActiveKernels().pick;
    const std::ptrdiff_t distance = b.source.strideX;
    const auto pick = distance == 2 ? kernels.ofTwo : distance == 3 ? kernels.ofThree : kernels.ofFour;
    const auto row = static_cast<std::ptrdiff_t>(b.width);
    if (IsOneRow(b.source, b.target, row * distance, row)) {
        pick(b.source.first, b.target.first, b.width * b.height);
        return;
    }
    for (std::uint64_t y = 0; y < b.height; ++y)
        pick(b.source.Row(y), b.target.Row(y), b.width);
}

} // namespace

void CopyBlock(const SourceBlock& source, const TargetBlock& target, PackedSize elementSize,
               std::uint64_t width, std::uint64_t height) noexcept
{
    if (width == 0 || height == 0)
        return;
    Blocks b{source, target, width, height};
    FollowTarget(b);
    const auto size = static_cast<std::ptrdiff_t>(elementSize.Bytes());
    const std::size_t index = elementSize.Index();
    const MoveKernels& move = ActiveKernels().move;
    if (b.target.strideX != size)
        strided[index](b);
    else if (b.source.strideX == size)
        CopyRows(b, elementSize.Bytes() * b.width);
    else if (b.source.strideX == -size)
        ReverseRows(b, move.reverse[index]);
    else if (b.source.strideY == size)
        move.transpose[index](b.source.first, b.source.strideX, b.target.first, b.target.strideY, b.width,
                              b.height);
    else if (b.source.strideY == -size)
        move.transpose[index](b.source.Row(b.height - 1), b.source.strideX, b.target.Row(b.height - 1),
                              -b.target.strideY, b.width, b.height);
    else if (size == 1 && b.source.strideX >= 2 && b.source.strideX <= 4)
        PickRows(b);
    else
        strided[index](b);
}

} // namespace Mardu::Sentel::Tavlo
