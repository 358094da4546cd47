#include "recode/kernels/plain_loops.h"
#include "recode/kernels/vector_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "recode/kernels/vector_move.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "recode/kernels/pixel_triples-inl.h"
#include "recode/kernels/transposition-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE {
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3_DL

// Gains are rows of docs/performance.md at 1920x1080, as multiples of the plain loop's speed at AVX-512 and
// at AVX2: mirrored 8, 16, RGB and RGBA 12.5 and 12.3, 6.2 and 6.4, 6.7 and 5.9, 2.7 and 2.7; transposed 12.2
// and 11.1, 6.3 and 6.3, 4.1 and 2.8, 3.7 and 3.9. Copies, which are AVX2's at both levels, have 1.04 to 1.23
// times memcpy's speed.

/// Elements of 1, 2, 4 or 8 bytes.
template <std::size_t size>
struct Reversal
{
    static constexpr std::size_t pixelsPerCall = vectorBytes / size;

    template <class StoreVector>
    static HWY_INLINE void Run(const std::uint8_t* src, std::uint8_t* dst, const StoreVector& store)
    {
        alignas(16) static constexpr auto order = [] {
            std::array<std::uint8_t, 16> result{};
            for (std::size_t i = 0; i < 16; ++i)
                result[i] = static_cast<std::uint8_t>(16 - size - i / size * size + i % size);
            return result;
        }();
        const ByteVector blocks = hn::ReverseBlocks(bytes, hn::LoadU(bytes, src));
        store(hn::TableLookupBytes(blocks, hn::LoadDup128(bytes, order.data())), dst);
    }
};

template <>
struct Reversal<3>
{
    static constexpr std::size_t pixelsPerCall = vectorBytes;

    template <class StoreVector>
    static HWY_INLINE void Run(const std::uint8_t* src, std::uint8_t* dst, const StoreVector& store)
    {
        PixelTriple::Backwards(src).StorePermuted<LastFirst>(dst, store);
    }

private:
    struct LastFirst
    {
        static constexpr std::size_t From(std::size_t to)
        {
            return PixelTriple::period - 3 - to / 3 * 3 + to % 3;
        }
    };
};

inline bool AreStreamed(std::size_t rowSize, std::size_t rows)
{
    return rowSize >= streamedRow && rowSize * rows >= streamedBytes;
}

template <std::size_t size, class StoreVector>
HWY_INLINE void ReverseRow(const std::uint8_t* src, std::uint8_t* dst, std::size_t count,
                           const StoreVector& store)
{
    constexpr std::size_t pixelsPerCall = Reversal<size>::pixelsPerCall;
    const std::size_t rest = count % pixelsPerCall;
    src += count * size;
    for (std::size_t whole = count / pixelsPerCall; whole != 0; --whole, dst += pixelsPerCall * size) {
        src -= pixelsPerCall * size;
        Reversal<size>::Run(src, dst, store);
    }
    if (rest == 0)
        return;
    // What is left are the source's first ones, in the copy the last ones.
    HWY_ALIGN std::uint8_t source[pixelsPerCall * size] = {};
    HWY_ALIGN std::uint8_t target[pixelsPerCall * size];
    std::memcpy(source + sizeof source - rest * size, src - rest * size, rest * size);
    Reversal<size>::Run(source, target, CachedStore());
    std::memcpy(dst, target, rest * size);
}

/// How many pixels come before the first one that begins a line, or all of them.
template <std::size_t size>
std::size_t PixelsToLine(const std::uint8_t* at, std::size_t count)
{
    for (std::size_t i = 0; i < 64 && i < count; ++i)
        if (reinterpret_cast<std::uintptr_t>(at + i * size) % 64 == 0)
            return i;
    return count;
}

template <std::size_t size>
HWY_INLINE void StreamReversedRow(const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
{
    const std::size_t before = PixelsToLine<size>(dst, count);
    ReverseRow<size>(src + (count - before) * size, dst, before, CachedStore());
    ReverseRow<size>(src, dst + before * size, count - before, StreamedStore());
}

template <std::size_t size>
void Reverse(const std::uint8_t* src, std::ptrdiff_t srcStride, std::uint8_t* dst, std::ptrdiff_t dstStride,
             std::size_t count, std::size_t rows)
{
    const bool areStreamed = AreStreamed(count * size, rows);
    for (; rows != 0; --rows, src += srcStride, dst += dstStride)
        if (areStreamed)
            StreamReversedRow<size>(src, dst, count);
        else
            ReverseRow<size>(src, dst, count, CachedStore());
    if (areStreamed)
        hwy::FlushStream();
}

#if HWY_TARGET == HWY_AVX2

/// In halves, which is a few percent faster in the third cache.
struct HalvedStore
{
    HWY_INLINE void operator()(ByteVector v, std::uint8_t* at) const
    {
        const hn::Half<Bytes> half;
        hn::StoreU(hn::LowerHalf(half, v), half, at);
        hn::StoreU(hn::UpperHalf(half, v), half, at + vectorBytes / 2);
    }
};

/// Two vectors and more. The first and the last ones may overlap the aligned ones between.
template <class StoreVector>
HWY_INLINE void CopyRow(const std::uint8_t* src, std::uint8_t* dst, std::size_t size,
                        const StoreVector& store)
{
    const std::size_t end = size - 2 * vectorBytes;
    const ByteVector nextToLast = hn::LoadU(bytes, src + end);
    const ByteVector last = hn::LoadU(bytes, src + end + vectorBytes);
    CachedStore()(hn::LoadU(bytes, src), dst);
    for (std::size_t i = vectorBytes - reinterpret_cast<std::uintptr_t>(dst) % vectorBytes; i < end;
         i += 2 * vectorBytes) {
        const ByteVector first = hn::LoadU(bytes, src + i);
        const ByteVector second = hn::LoadU(bytes, src + i + vectorBytes);
        store(first, dst + i);
        store(second, dst + i + vectorBytes);
    }
    CachedStore()(nextToLast, dst + end);
    CachedStore()(last, dst + end + vectorBytes);
}

HWY_INLINE void StreamRow(const std::uint8_t* src, std::uint8_t* dst, std::size_t size)
{
    const std::size_t before = (0 - reinterpret_cast<std::uintptr_t>(dst)) % 64;
    std::memmove(dst, src, before);
    std::size_t i = before;
    for (; i + 64 <= size; i += 64) {
        const ByteVector first = hn::LoadU(bytes, src + i);
        const ByteVector second = hn::LoadU(bytes, src + i + 32);
        StreamedStore()(first, dst + i);
        StreamedStore()(second, dst + i + 32);
    }
    std::memmove(dst + i, src + i, size - i);
}

/// Whether a row is moved over itself.
inline bool Overlap(const std::uint8_t* src, const std::uint8_t* dst, std::size_t size)
{
    const auto from = reinterpret_cast<std::uintptr_t>(src);
    const auto to = reinterpret_cast<std::uintptr_t>(dst);
    return (from < to ? to - from : from - to) < size;
}

/// Of the C library's copies some take ten times as long where source and target lie unfavourably.
void Copy(const std::uint8_t* src, std::ptrdiff_t srcStride, std::uint8_t* dst, std::ptrdiff_t dstStride,
          std::size_t rowSize, std::size_t rows)
{
    const auto each = [=](const auto& copy) {
        for (std::size_t y = 0; y < rows; ++y)
            copy(src + static_cast<std::ptrdiff_t>(y) * srcStride,
                 dst + static_cast<std::ptrdiff_t>(y) * dstStride);
    };
    const auto eachWith = [&](const auto& store) {
        each([=](const std::uint8_t* s, std::uint8_t* d) { CopyRow(s, d, rowSize, store); });
    };
    if (rowSize < 2 * vectorBytes || Overlap(src, dst, rowSize)) {
        each([=](const std::uint8_t* s, std::uint8_t* d) { std::memmove(d, s, rowSize); });
    } else if (AreStreamed(rowSize, rows)) {
        each([=](const std::uint8_t* s, std::uint8_t* d) { StreamRow(s, d, rowSize); });
        hwy::FlushStream();
    } else if (rowSize * rows >= halvedBytes) {
        eachWith(HalvedStore());
    } else {
        eachWith(CachedStore());
    }
}

#endif

constexpr MoveKernels moveKernels{
    .copy = N_AVX2::Copy,
    .reverse = {Reverse<1>, Reverse<2>, Reverse<3>, Reverse<4>, Reverse<8>},
    .transpose = {Transposition<LineSquare<1>, 1>::Run, Transposition<LineSquare<2>, 2>::Run,
                  Transposition<VectorSquares<3>, 3>::Run, Transposition<VectorSquares<4>, 4>::Run,
                  Transposition<VectorSquares<8>, 8>::Run}};

#endif
} // namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Mardu::Sentel::Tavlo {

const MoveKernels avx2Move = N_AVX2::moveKernels;
const MoveKernels avx512Move = N_AVX3_DL::moveKernels;

} // namespace Mardu::Sentel::Tavlo
#endif
