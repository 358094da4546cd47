#include "recode/kernels/plain_loops.h"
#include "recode/kernels/vector_kernels.h"

#include <utility>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "recode/kernels/vector_color.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "recode/kernels/byte_table-inl.h"
#include "recode/kernels/line_rows-inl.h"
#include "recode/kernels/pixel_triples-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE {
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3_DL

// Gains are rows of docs/performance.md at 1920x1080, as multiples of the plain loop's speed at AVX-512 and
// at AVX2: RGB to BGR 11.6 and 11.6, RGB to BGRA 10.6 and 10.7, RGBA to BGRA 8.5 and 8.4; with contrast, by a
// ByteTable, 9.4 and 1.6, 8.0 and 1.8, 8.4 and 1.5; RGB to grey 16.4 and 14.9.

using Words = hn::ScalableTag<std::uint16_t>;
using Quads = hn::ScalableTag<std::uint32_t>;

/// Stands for a table that changes nothing.
struct NoTable
{
    static constexpr bool outrunsMemory = true;

    HWY_INLINE ByteVector operator()(ByteVector v) const { return v; }
};

struct ThreeToThree
{
    template <class Map>
    static HWY_INLINE void Run(const Map& map, const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
    {
        EachVectorTo<Map::outrunsMemory, vectorBytes, 1, 1>(
            src, dst, 3 * count, [map](const std::uint8_t* s, std::uint8_t* d, auto store) {
                store(map(hn::LoadU(bytes, s)), d);
            });
    }
};

/// The first and the third byte of each pixel change places.
struct Exchange
{
    static constexpr std::size_t From(std::size_t to) { return to - to % 3 + (2 - to % 3); }
};

struct ThreeToThreeSwapped
{
    template <class Map>
    static HWY_INLINE void Run(const Map& map, const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
    {
        EachVectorTo<Map::outrunsMemory, vectorBytes, 3, 3>(
            src, dst, count, [map](const std::uint8_t* s, std::uint8_t* d, auto store) {
                PixelTriple pixels(s);
                pixels.Each(map);
                pixels.template StorePermuted<Exchange>(d, store);
            });
    }
};

/// The alpha bytes of four-byte pixels.
HWY_INLINE ByteVector Alpha()
{
    return hn::BitCast(bytes, hn::Set(Quads(), 0xFF000000u));
}

template <bool swapped>
struct ThreeToFour
{
    template <class Map>
    static HWY_INLINE void Run(const Map& map, const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
    {
        EachVectorTo<Map::outrunsMemory, vectorBytes, 3, 4>(
            src, dst, count, [map](const std::uint8_t* s, std::uint8_t* d, auto store) {
                PixelTriple pixels(s);
                pixels.Each(map);
                Store(pixels, d, store);
            });
    }

#if HWY_TARGET == HWY_AVX2
    static HWY_INLINE Line<4> ConvertedLine(const Line<3>& line)
    {
        const Block second{_mm_alignr_epi8(line.block[1].raw, line.block[0].raw, 12)};
        const Block third{_mm_alignr_epi8(line.block[2].raw, line.block[1].raw, 8)};
        const Block fourth{_mm_srli_si128(line.block[2].raw, 4)};
        return {WithAlpha(line.block[0]), WithAlpha(second), WithAlpha(third), WithAlpha(fourth)};
    }
#endif

private:
#if HWY_TARGET == HWY_AVX2
    /// The first four pixels of a block.
    static HWY_INLINE Block WithAlpha(Block pixels)
    {
        alignas(16) static constexpr std::uint8_t order[] = {
            swapped ? 2 : 0, 1, swapped ? 0 : 2, 0x80, swapped ? 5 : 3,  4,  swapped ? 3 : 5,  0x80,
            swapped ? 8 : 6, 7, swapped ? 6 : 8, 0x80, swapped ? 11 : 9, 10, swapped ? 9 : 11, 0x80};
        const Blocks blocks;
        const Block colors = hn::TableLookupBytesOr0(pixels, hn::Load(blocks, order));
        return hn::Or(colors, hn::BitCast(blocks, hn::Set(hn::Full128<std::uint32_t>(), 0xFF000000u)));
    }
#endif

    template <std::size_t part>
    static HWY_INLINE ByteVector WithAlpha(const PixelTriple& pixels)
    {
        constexpr std::size_t first = swapped ? 2 : 0;
        constexpr std::size_t third = swapped ? 0 : 2;
        return hn::Or(pixels.Expanded<part, first, 1, third, 3>(), Alpha());
    }

    template <class StoreVector>
    static HWY_INLINE void Store(const PixelTriple& pixels, std::uint8_t* at, const StoreVector& store)
    {
        const ByteVector v0 = WithAlpha<0>(pixels);
        const ByteVector v1 = WithAlpha<1>(pixels);
        const ByteVector v2 = WithAlpha<2>(pixels);
        const ByteVector v3 = WithAlpha<3>(pixels);
#if HWY_TARGET <= HWY_AVX3_DL
        store(v0, at);
        store(v1, at + vectorBytes);
        store(v2, at + 2 * vectorBytes);
        store(v3, at + 3 * vectorBytes);
#else
        store(hn::ConcatLowerLower(bytes, v1, v0), at);
        store(hn::ConcatLowerLower(bytes, v3, v2), at + vectorBytes);
        store(hn::ConcatUpperUpper(bytes, v1, v0), at + 2 * vectorBytes);
        store(hn::ConcatUpperUpper(bytes, v3, v2), at + 3 * vectorBytes);
#endif
    }
};

/// The first and the third byte of each four-byte pixel change places.
template <class AnyVector>
HWY_INLINE AnyVector Exchanged(AnyVector pixels)
{
    alignas(16) static constexpr std::uint8_t order[16] = {2,  1, 0, 3,  6,  5,  4,  7,
                                                           10, 9, 8, 11, 14, 13, 12, 15};
    return hn::TableLookupBytes(pixels, hn::LoadDup128(hn::DFromV<AnyVector>(), order));
}

template <bool swapped>
struct FourToFour
{
    template <class Map>
    static HWY_INLINE void Run(const Map& map, const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
    {
        EachVectorTo<Map::outrunsMemory, vectorBytes / 2, 4, 4>(
            src, dst, count, [map](const std::uint8_t* s, std::uint8_t* d, auto store) {
                const ByteVector v0 = Converted(map, hn::LoadU(bytes, s));
                const ByteVector v1 = Converted(map, hn::LoadU(bytes, s + vectorBytes));
                store(v0, d);
                store(v1, d + vectorBytes);
            });
    }

#if HWY_TARGET == HWY_AVX2
    static HWY_INLINE Line<4> ConvertedLine(const Line<4>& line)
    {
        return {Exchanged(line.block[0]), Exchanged(line.block[1]), Exchanged(line.block[2]),
                Exchanged(line.block[3])};
    }
#endif

private:
    template <class Map>
    static HWY_INLINE ByteVector Converted(const Map& map, ByteVector pixels)
    {
        const ByteVector colors = hn::IfVecThenElse(Alpha(), pixels, map(pixels));
        return swapped ? Exchanged(colors) : colors;
    }
};

/// 77, 150 and 29 for the bytes of a pixel, red first or blue first, in 16 bits the sum of each two
/// products. Pixels are 128 lower than they are, so that they are the signed factors and the weights,
/// one of which is above 127, the unsigned ones.
template <bool blueFirst>
HWY_INLINE ByteVector Weights()
{
    return hn::BitCast(bytes, hn::Set(Quads(), blueFirst ? 0x004D961Du : 0x001D964Du));
}

#if HWY_TARGET <= HWY_AVX3_DL

/// The means of a quarter of the pixels, each in the second byte of four.
template <std::size_t part, bool blueFirst>
HWY_INLINE __m512i Means(const PixelTriple& pixels)
{
    const __m512i pairs =
        _mm512_maddubs_epi16(Weights<blueFirst>().raw, pixels.Expanded<part, 0, 1, 2, 3>().raw);
    // What the pixels are too low by: 128 times the sum of the weights.
    const __m512i lack = _mm512_set1_epi32(128 * 256);
    return _mm512_add_epi32(_mm512_madd_epi16(pairs, _mm512_set1_epi16(1)), lack);
}

/// Half of the greys.
HWY_INLINE hn::Vec<hn::Half<Bytes>> SecondBytes(__m512i means0, __m512i means1)
{
    alignas(32) static constexpr auto places = [] {
        std::array<std::uint8_t, vectorBytes / 2> result{};
        for (std::size_t i = 0; i < result.size(); ++i)
            result[i] = static_cast<std::uint8_t>(4 * i + 1);
        return result;
    }();
    const __m512i index =
        _mm512_castsi256_si512(_mm256_load_si256(reinterpret_cast<const __m256i*>(places.data())));
    return {_mm512_castsi512_si256(_mm512_permutex2var_epi8(means0, index, means1))};
}

template <bool blueFirst, class Store>
HWY_INLINE void StoreGreys(const PixelTriple& pixels, std::uint8_t* at, const Store& store)
{
    const __m512i means0 = Means<0, blueFirst>(pixels);
    const __m512i means1 = Means<1, blueFirst>(pixels);
    const __m512i means2 = Means<2, blueFirst>(pixels);
    const __m512i means3 = Means<3, blueFirst>(pixels);
    store(hn::Combine(bytes, SecondBytes(means2, means3), SecondBytes(means0, means1)), at);
}

#else

template <std::size_t part, bool blueFirst>
HWY_INLINE __m256i PairSums(const PixelTriple& pixels)
{
    return _mm256_maddubs_epi16(Weights<blueFirst>().raw, pixels.Expanded<part, 0, 1, 2, 3>().raw);
}

/// The means of two quarters of the pixels in 16 bits.
HWY_INLINE __m256i Means(__m256i pairs0, __m256i pairs1)
{
    // What the pixels are too low by, 128 times the sum of the weights, is this bit.
    const __m256i lack = _mm256_set1_epi16(static_cast<std::int16_t>(-0x8000));
    return _mm256_srli_epi16(_mm256_xor_si256(_mm256_hadd_epi16(pairs0, pairs1), lack), 8);
}

template <bool blueFirst, class Store>
HWY_INLINE void StoreGreys(const PixelTriple& pixels, std::uint8_t* at, const Store& store)
{
    const __m256i means0 = Means(PairSums<0, blueFirst>(pixels), PairSums<1, blueFirst>(pixels));
    const __m256i means1 = Means(PairSums<2, blueFirst>(pixels), PairSums<3, blueFirst>(pixels));
    store(ByteVector{_mm256_packus_epi16(means0, means1)}, at);
}

#endif

template <bool blueFirst>
void Grey(const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
{
    EachVectorTo<true, vectorBytes, 3, 1>(
        src, dst, count, [](const std::uint8_t* s, std::uint8_t* d, auto store) {
            PixelTriple pixels(s);
            pixels.Each([](ByteVector v) { return hn::Xor(v, hn::Set(bytes, 0x80)); });
            StoreGreys<blueFirst>(pixels, d, store);
        });
}

template <class Layout>
void ThroughTable(const std::uint8_t* table, const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
{
    Layout::Run(ByteTable(table), src, dst, count);
}

constexpr std::array<ColorKernels::Function, ColorKernels::layoutCount> throughTable{
    ThroughTable<ThreeToThree>,      ThroughTable<ThreeToThreeSwapped>, ThroughTable<ThreeToFour<false>>,
    ThroughTable<ThreeToFour<true>>, ThroughTable<FourToFour<false>>,   ThroughTable<FourToFour<true>>};

#if HWY_TARGET == HWY_AVX2

template <std::size_t size>
void CopiedPixels(const std::uint8_t*, const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
{
    avx2Move.copy(src, 0, dst, 0, size * count, 1);
}

template <class Layout>
void WithoutTable(const std::uint8_t*, const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
{
    Layout::Run(NoTable(), src, dst, count);
}

/// Pixels of four bytes, sixteen to a line.
template <class Layout, std::size_t sourceSize>
void WithoutTableByLines(const std::uint8_t*, const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
{
    if (IsDistant(src, sourceSize * count, dst, 4 * count)) {
        const std::size_t lines = count / 16;
        EachLine<sourceSize, 4>(src, dst, lines,
                                [](const auto& line) { return Layout::ConvertedLine(line); });
        src += 16 * sourceSize * lines;
        dst += 16 * 4 * lines;
        count %= 16;
    }
    Layout::Run(NoTable(), src, dst, count);
}

/// The same loops at both levels: vectors of 64 bytes do not help without a table, and fetch less at a time
/// from beyond the first cache.
constexpr std::array<ColorKernels::Function, ColorKernels::layoutCount> withoutTable{
    CopiedPixels<3>,
    WithoutTable<ThreeToThreeSwapped>,
    WithoutTableByLines<ThreeToFour<false>, 3>,
    WithoutTableByLines<ThreeToFour<true>, 3>,
    CopiedPixels<4>,
    WithoutTableByLines<FourToFour<true>, 4>};

#endif
#endif
} // namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Mardu::Sentel::Tavlo {
namespace {

template <ColorKernels::Function withoutTable, ColorKernels::Function throughTable>
void Convert(const std::uint8_t* table, const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
{
    (table == nullptr ? withoutTable : throughTable)(table, src, dst, count);
}

template <const auto& throughTable, std::size_t... layout>
constexpr decltype(ColorKernels::convert) Conversions(std::index_sequence<layout...>)
{
    return {Convert<N_AVX2::withoutTable[layout], throughTable[layout]>...};
}

using Layouts = std::make_index_sequence<ColorKernels::layoutCount>;

} // namespace

const ColorKernels avx2Color{.convert = Conversions<N_AVX2::throughTable>(Layouts()),
                             .greyOfRGB = N_AVX2::Grey<false>,
                             .greyOfBGR = N_AVX2::Grey<true>};
const ColorKernels avx512Color{.convert = Conversions<N_AVX3_DL::throughTable>(Layouts()),
                               .greyOfRGB = N_AVX3_DL::Grey<false>,
                               .greyOfBGR = N_AVX3_DL::Grey<true>};

} // namespace Mardu::Sentel::Tavlo
#endif
