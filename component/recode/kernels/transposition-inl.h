#if defined(TAVLO_RECODE_TRANSPOSITION_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVLO_RECODE_TRANSPOSITION_INL_H
#undef TAVLO_RECODE_TRANSPOSITION_INL_H
#else
#define TAVLO_RECODE_TRANSPOSITION_INL_H
#endif

#include "recode/kernels/vector_rows-inl.h"

#include <algorithm>
#include <array>
#include <type_traits>
#include <utility>

HWY_BEFORE_NAMESPACE();
namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE {
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3_DL

/// Blocks of 16 bytes, as vectors have them, of as many rows as a block has elements. The same is done in all
/// blocks of a vector at once.
template <std::size_t size>
class BlockRows
{
public:
    static constexpr std::size_t count = 16 / size;

    /// In every block rows and columns change places.
    static HWY_INLINE void Turn(ByteVector* rows) { Interleave<count>(rows); }

private:
    using Elements = hn::ScalableTag<hwy::UnsignedFromSize<size>>;

    /// Rows and columns change places in log2(count) rounds. Let an element lie in row R and column C,
    /// numbers of n = log2(count) bits, and read R and C as one number of 2 n bits, R before C.
    /// 1. Interleaving row p of the first half with row p of the second one puts its elements into rows 2 p
    /// and
    ///    2 p + 1: the element's number is turned left by one bit.
    /// 2. After n rounds it is turned by n bits, which is C before R.
    template <std::size_t rowsLeft>
    static HWY_INLINE void Interleave(ByteVector* rows)
    {
        if constexpr (rowsLeft > 1) {
            InterleaveOnce(rows, std::make_index_sequence<count / 2>());
            Interleave<rowsLeft / 2>(rows);
        }
    }

    template <std::size_t... pair>
    static HWY_INLINE void InterleaveOnce(ByteVector* rows, std::index_sequence<pair...>)
    {
        const Elements elements;
        const hn::Vec<Elements> upper[] = {hn::BitCast(elements, rows[pair])...};
        const hn::Vec<Elements> lower[] = {hn::BitCast(elements, rows[pair + count / 2])...};
        ((rows[2 * pair] = hn::BitCast(bytes, hn::InterleaveLower(elements, upper[pair], lower[pair])),
          rows[2 * pair + 1] = hn::BitCast(bytes, hn::InterleaveUpper(elements, upper[pair], lower[pair]))),
         ...);
    }
};

/// Squares of a line each way, of elements of one or two bytes. They have more vectors than there are
/// registers:
/// 1. blocks are turned one vector of rows at a time, and stored where the turned square has them, in a
/// buffer;
/// 2. the buffer's lines are the target's.
template <std::size_t size>
class LineSquare
{
public:
    static constexpr std::size_t extent = 64 / size;

    template <class StoreVector>
    static HWY_INLINE void Turn(const std::uint8_t* src, std::ptrdiff_t srcStride, std::uint8_t* dst,
                                std::ptrdiff_t dstStride, const StoreVector& store)
    {
        HWY_ALIGN std::uint8_t lines[extent * 64];
        for (std::size_t x = 0; x < extent; x += Blocks::count)
            for (std::size_t y = 0; y < extent; y += vectorBytes / size) {
                ByteVector v[Blocks::count];
                Load(src + static_cast<std::ptrdiff_t>(x) * srcStride + y * size, srcStride, v, Rows());
                Blocks::Turn(v);
                Store(v, lines + y * 64 + x * size, Rows());
            }
        for (std::size_t y = 0; y < extent; ++y, dst += dstStride)
            for (std::size_t i = 0; i < 64; i += vectorBytes)
                store(hn::Load(bytes, lines + y * 64 + i), dst + i);
    }

private:
    using Blocks = BlockRows<size>;
    using Rows = std::make_index_sequence<Blocks::count>;

    template <std::size_t... row>
    static HWY_INLINE void Load(const std::uint8_t* rows, std::ptrdiff_t stride, ByteVector* v,
                                std::index_sequence<row...>)
    {
        ((v[row] = hn::LoadU(bytes, rows), rows += stride), ...);
    }

    template <std::size_t... column>
    static HWY_INLINE void Store(const ByteVector* v, std::uint8_t* lines, std::index_sequence<column...>)
    {
        (StoreBlocks(bytes, v[column], lines + column * 64), ...);
    }

    /// Block b of a vector, b blocks to the right in its source row, belongs b * Blocks::count lines further
    /// down.
    template <class D>
    static HWY_INLINE void StoreBlocks(D d, hn::Vec<D> v, std::uint8_t* at)
    {
        if constexpr (hn::MaxLanes(d) == 16) {
            hn::Store(v, d, at);
        } else {
            constexpr hn::Half<D> half;
            StoreBlocks(half, hn::LowerHalf(half, v), at);
            StoreBlocks(half, hn::UpperHalf(half, v), at + hn::MaxLanes(half) / 16 * Blocks::count * 64);
        }
    }
};

/// How elements go into vectors and out of them: as they are.
template <std::size_t size>
struct Packed
{
    static constexpr std::size_t inVector = size;

    static HWY_INLINE ByteVector Load(const std::uint8_t* at) { return hn::LoadU(bytes, at); }
    template <class StoreVector>
    static HWY_INLINE void Store(ByteVector v, std::uint8_t* at, const StoreVector& store)
    {
        store(v, at);
    }
};

/// Places of elements of one size as elements of another.
template <std::size_t from, std::size_t to>
constexpr std::array<std::uint8_t, vectorBytes> placesBySize = [] {
    std::array<std::uint8_t, vectorBytes> places{};
    for (std::size_t i = 0; i < vectorBytes; ++i)
        places[i] = static_cast<std::uint8_t>((i / to * from + i % to) % vectorBytes);
    return places;
}();

/// Three bytes are four in vectors.
template <>
struct Packed<3>
{
    static constexpr std::size_t inVector = 4;

#if HWY_TARGET <= HWY_AVX3_DL

    static HWY_INLINE ByteVector Load(const std::uint8_t* at)
    {
        return {_mm512_permutexvar_epi8(hn::LoadU(bytes, placesBySize<3, 4>.data()).raw,
                                        _mm512_maskz_loadu_epi8(threeQuarters, at))};
    }

    static HWY_INLINE void Store(ByteVector v, std::uint8_t* at, CachedStore)
    {
        _mm512_mask_storeu_epi8(
            at, threeQuarters,
            _mm512_permutexvar_epi8(hn::LoadU(bytes, placesBySize<4, 3>.data()).raw, v.raw));
    }

private:
    static constexpr __mmask64 threeQuarters = 0xFFFFFFFFFFFF;

#else

    static HWY_INLINE ByteVector Load(const std::uint8_t* at)
    {
        HWY_ALIGN static constexpr std::uint8_t order[] = {0, 1,  2,  3,  3,  4,  5,  6,  6,  7, 8,
                                                           9, 9,  10, 11, 12, 4,  5,  6,  7,  7, 8,
                                                           9, 10, 10, 11, 12, 13, 13, 14, 15, 15};
        const ByteVector v = hn::Combine(bytes, hn::LoadU(half, at + 8), hn::LoadU(half, at));
        return hn::TableLookupBytes(v, hn::Load(bytes, order));
    }

    static HWY_INLINE void Store(ByteVector v, std::uint8_t* at, CachedStore)
    {
        HWY_ALIGN static constexpr std::uint8_t order[] = {0,  1,  2,  4,  5,  6,  8,  9,  10, 12, 13,
                                                           14, 15, 15, 15, 15, 0,  1,  2,  4,  5,  6,
                                                           8,  9,  10, 12, 13, 14, 15, 15, 15, 15};
        const ByteVector packed = hn::TableLookupBytes(v, hn::Load(bytes, order));
        // Each half has 12 bytes; the upper one's begin where those of the lower one end.
        hn::StoreU(hn::LowerHalf(half, packed), half, at);
        const auto upper = hn::UpperHalf(half, packed);
        const hwy::HWY_NAMESPACE::FixedTag<std::uint8_t, 8> eight;
        const hwy::HWY_NAMESPACE::FixedTag<std::uint8_t, 4> four;
        hn::StoreU(hn::LowerHalf(eight, upper), eight, at + 12);
        hn::StoreU(hn::LowerHalf(four, hn::LowerHalf(eight, hn::ShiftRightBytes<8>(half, upper))), four,
                   at + 20);
    }

private:
    static constexpr hn::Half<Bytes> half{};

#endif
};

/// Squares of a line each way, of larger elements: made of squares of a vector each way, in registers.
/// 1. Rows are loaded, each a vector.
/// 2. Blocks are turned in themselves.
/// 3. Blocks change places, and columns are stored.
template <std::size_t size>
class VectorSquares
{
public:
    static constexpr std::size_t extent = 64 / Packed<size>::inVector;

    template <class StoreVector>
    static HWY_INLINE void Turn(const std::uint8_t* src, std::ptrdiff_t srcStride, std::uint8_t* dst,
                                std::ptrdiff_t dstStride, const StoreVector& store)
    {
        for (std::size_t y = 0; y < extent; y += inVector)
            for (std::size_t x = 0; x < extent; x += inVector)
                TurnOne(src + static_cast<std::ptrdiff_t>(x) * srcStride + y * size, srcStride,
                        dst + static_cast<std::ptrdiff_t>(y) * dstStride + x * size, dstStride, store);
    }

private:
    using Blocks = BlockRows<Packed<size>::inVector>;

    static constexpr std::size_t inVector = vectorBytes / Packed<size>::inVector;

    template <class StoreVector>
    static HWY_INLINE void TurnOne(const std::uint8_t* src, std::ptrdiff_t srcStride, std::uint8_t* dst,
                                   std::ptrdiff_t dstStride, const StoreVector& store)
    {
        ByteVector v[inVector];
        Load(src, srcStride, v, std::make_index_sequence<inVector>());
        TurnBlocks(v, std::make_index_sequence<vectorBytes / 16>());
        Store(v, dst, dstStride, store, std::make_index_sequence<Blocks::count>());
    }

    template <std::size_t... row>
    static HWY_INLINE void Load(const std::uint8_t* src, std::ptrdiff_t stride, ByteVector* v,
                                std::index_sequence<row...>)
    {
        ((v[row] = Packed<size>::Load(src + static_cast<std::ptrdiff_t>(row) * stride)), ...);
    }

    template <std::size_t... group>
    static HWY_INLINE void TurnBlocks(ByteVector* v, std::index_sequence<group...>)
    {
        (Blocks::Turn(v + group * Blocks::count), ...);
    }

    template <class StoreVector, std::size_t... column>
    static HWY_INLINE void Store(const ByteVector* v, std::uint8_t* dst, std::ptrdiff_t stride,
                                 const StoreVector& store, std::index_sequence<column...>)
    {
        (StoreColumns(v + column, dst + static_cast<std::ptrdiff_t>(column) * stride,
                      static_cast<std::ptrdiff_t>(Blocks::count) * stride, store),
         ...);
    }

    /// Step 3 for the columns whose blocks are in v[0], v[count], v[2 count] and so on: block b of the vector
    /// g becomes block g of the column b.
    template <class StoreVector>
    static HWY_INLINE void StoreColumns(const ByteVector* v, std::uint8_t* dst, std::ptrdiff_t stride,
                                        const StoreVector& store)
    {
        const ByteVector v0 = v[0];
        const ByteVector v1 = v[Blocks::count];
#if HWY_TARGET <= HWY_AVX3_DL
        const ByteVector v2 = v[2 * Blocks::count];
        const ByteVector v3 = v[3 * Blocks::count];
        const __m512i lower01 = _mm512_shuffle_i64x2(v0.raw, v1.raw, 0x44);
        const __m512i upper01 = _mm512_shuffle_i64x2(v0.raw, v1.raw, 0xEE);
        const __m512i lower23 = _mm512_shuffle_i64x2(v2.raw, v3.raw, 0x44);
        const __m512i upper23 = _mm512_shuffle_i64x2(v2.raw, v3.raw, 0xEE);
        Packed<size>::Store({_mm512_shuffle_i64x2(lower01, lower23, 0x88)}, dst, store);
        Packed<size>::Store({_mm512_shuffle_i64x2(lower01, lower23, 0xDD)}, dst + stride, store);
        Packed<size>::Store({_mm512_shuffle_i64x2(upper01, upper23, 0x88)}, dst + 2 * stride, store);
        Packed<size>::Store({_mm512_shuffle_i64x2(upper01, upper23, 0xDD)}, dst + 3 * stride, store);
#else
        Packed<size>::Store(hn::ConcatLowerLower(bytes, v1, v0), dst, store);
        Packed<size>::Store(hn::ConcatUpperUpper(bytes, v1, v0), dst + stride, store);
#endif
    }
};

/// Rows become columns, square by square.
template <class Square, std::size_t size>
class Transposition
{
public:
    static void Run(const std::uint8_t* src, std::ptrdiff_t srcStride, std::uint8_t* dst,
                    std::ptrdiff_t dstStride, std::size_t width, std::size_t height)
    {
        if constexpr (size != 3) {
            const auto misaligned =
                (reinterpret_cast<std::uintptr_t>(dst) | static_cast<std::uintptr_t>(dstStride)) % 64;
            if (misaligned == 0 && width * size >= streamedBytes / height) {
                Tiles(src, srcStride, dst, dstStride, width, height, StreamedStore());
                hwy::FlushStream();
                return;
            }
        }
        Tiles(src, srcStride, dst, dstStride, width, height, CachedStore());
    }

private:
    static constexpr std::size_t extent = Square::extent;
    /// Elements each way that are taken together, so that memory is read and written in stretches.
    static constexpr std::size_t tile = 1024 / size / extent * extent;

    template <class Store>
    static HWY_INLINE void Tiles(const std::uint8_t* src, std::ptrdiff_t srcStride, std::uint8_t* dst,
                                 std::ptrdiff_t dstStride, std::size_t width, std::size_t height,
                                 const Store& store)
    {
        for (std::size_t left = 0; left < width; left += tile)
            for (std::size_t top = 0; top < height; top += tile)
                Tile(src + static_cast<std::ptrdiff_t>(left) * srcStride + top * size, srcStride,
                     dst + static_cast<std::ptrdiff_t>(top) * dstStride + left * size, dstStride,
                     std::min(tile, width - left), std::min(tile, height - top), store);
    }

    template <class Store>
    static HWY_INLINE void Tile(const std::uint8_t* src, std::ptrdiff_t srcStride, std::uint8_t* dst,
                                std::ptrdiff_t dstStride, std::size_t width, std::size_t height,
                                const Store& store)
    {
        // A call for each square would probe the stack for its lines, on Windows.
        const auto turn = [&](std::size_t x, std::size_t y) __attribute__((always_inline))
        {
            const std::uint8_t* from = src + static_cast<std::ptrdiff_t>(x) * srcStride + y * size;
            std::uint8_t* to = dst + static_cast<std::ptrdiff_t>(y) * dstStride + x * size;
            if (x + extent <= width && y + extent <= height)
                Square::Turn(from, srcStride, to, dstStride, store);
            else
                Part(from, srcStride, to, dstStride, std::min(extent, width - x),
                     std::min(extent, height - y));
        };
        // Along the rows of the side whose lines take longer to come.
        if constexpr (std::is_same_v<Store, StreamedStore>) {
            for (std::size_t x = 0; x < width; x += extent)
                for (std::size_t y = 0; y < height; y += extent)
                    turn(x, y);
        } else {
            for (std::size_t y = 0; y < height; y += extent)
                for (std::size_t x = 0; x < width; x += extent)
                    turn(x, y);
        }
    }

    /// A part of a square, by way of a whole one.
    static HWY_NOINLINE void Part(const std::uint8_t* src, std::ptrdiff_t srcStride, std::uint8_t* dst,
                                  std::ptrdiff_t dstStride, std::size_t width, std::size_t height)
    {
        constexpr std::size_t row = extent * size;
        HWY_ALIGN std::uint8_t rows[extent * row];
        HWY_ALIGN std::uint8_t columns[extent * row];
        for (std::size_t x = 0; x < width; ++x, src += srcStride)
            CopyFew(src, rows + x * row, height * size);
        Square::Turn(rows, row, columns, row, CachedStore());
        for (std::size_t y = 0; y < height; ++y, dst += dstStride)
            CopyFew(columns + y * row, dst, width * size);
    }

    /// Up to 64 bytes. Not expanded where it is called, since GCC takes all copies together for one too long.
    static HWY_NOINLINE void CopyFew(const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
    {
        CopyIf<64>(src, dst, count);
        CopyIf<32>(src, dst, count);
        CopyIf<16>(src, dst, count);
        CopyIf<8>(src, dst, count);
        CopyIf<4>(src, dst, count);
        CopyIf<2>(src, dst, count);
        CopyIf<1>(src, dst, count);
    }

    template <std::size_t part>
    static HWY_INLINE void CopyIf(const std::uint8_t*& src, std::uint8_t*& dst, std::size_t count)
    {
        if ((count & part) == 0)
            return;
        std::memcpy(dst, src, part);
        src += part;
        dst += part;
    }
};

#endif
} // namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
