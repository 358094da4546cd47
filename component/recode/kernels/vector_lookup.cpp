#include "recode/curve/compact_colors.h"
#include "recode/curve/stepped_table.h"
#include "recode/kernels/plain_loops.h"
#include "recode/kernels/vector_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "recode/kernels/vector_lookup.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "recode/kernels/byte_table-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE {
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3_DL

// Gains are rows of docs/performance.md at 1920x1080, as multiples of the plain loop's speed.

using Words = hn::ScalableTag<std::uint16_t>;

void LookupByte(const void* entries, std::uint32_t, const std::uint8_t* src, std::uint8_t* dst,
                std::size_t count)
{
    const ByteTable table(static_cast<const std::uint8_t*>(entries));
    EachVector<vectorBytes, 1, 1>(src, dst, count, [=](const std::uint8_t* s, std::uint8_t* d) {
        hn::StoreU(table(hn::LoadU(bytes, s)), bytes, d);
    });
}

/// As many bytes as eight bytes hold entries, and one store; the plain loop makes one store a pixel. At AVX2
/// "8 to 16" gains 1.2 times, "8 to RGBA, ramp" 1.1 times.
template <class Entry>
void LookupTogether(const void* table, std::uint32_t mask, const std::uint8_t* src, std::uint8_t* dst,
                    std::size_t count)
{
    const auto* entries = static_cast<const Entry*>(table);
    constexpr std::size_t pixelsPerCall = 8 / sizeof(Entry);
    std::size_t i = 0;
    for (; i + pixelsPerCall <= count; i += pixelsPerCall) {
        std::uint64_t out = 0;
        for (std::size_t k = 0; k < pixelsPerCall; ++k)
            out |= static_cast<std::uint64_t>(entries[src[i + k]]) << (8 * sizeof(Entry) * k);
        std::memcpy(dst + i * sizeof(Entry), &out, sizeof out);
    }
    Plain::Lookup<std::uint8_t, Entry>(table, mask, src + i, dst + i * sizeof(Entry), count - i);
}

/// Four elements a load; the plain loop makes one load a pixel. "16 to 8, gamma and sigma" gains 1.3 times.
template <class Entry>
void LookupWords(const void* table, std::uint32_t mask, const std::uint8_t* src, std::uint8_t* dst,
                 std::size_t count)
{
    const auto* entries = static_cast<const Entry*>(table);
    const std::uint64_t masks = mask * 0x0001000100010001u;
    std::size_t i = 0;
    for (; i + 4 <= count; i += 4) {
        const std::uint64_t four = LoadPixel<std::uint64_t>(src + 2 * i) & masks;
        const auto store = [=](std::size_t k) {
            StorePixel<Entry>(dst + (i + k) * sizeof(Entry), entries[(four >> (16 * k)) & 0xFFFF]);
        };
        store(0);
        store(1);
        store(2);
        store(3);
    }
    Plain::Lookup<std::uint16_t, Entry>(table, mask, src + 2 * i, dst + i * sizeof(Entry), count - i);
}

#if HWY_TARGET <= HWY_AVX3_DL

/// The tables of an entry's bytes. By them "8 to 16" gains 13.5 times, "8 to RGB, ramp" 4.2 times and "8 to
/// RGBA, ramp" 3.2 times.
template <std::size_t size>
struct Planes
{
    alignas(64) std::uint8_t plane[4][256];

    explicit Planes(const std::uint8_t* entries)
    {
        for (std::size_t i = 0; i < 256; i += vectorBytes) {
            ByteVector v[4];
            if constexpr (size == 2)
                hn::LoadInterleaved2(bytes, entries + 2 * i, v[0], v[1]);
            else
                hn::LoadInterleaved4(bytes, entries + 4 * i, v[0], v[1], v[2], v[3]);
            for (std::size_t k = 0; k < size; ++k)
                hn::Store(v[k], bytes, plane[k] + i);
        }
    }
};

void LookupTwo(const void* entries, std::uint32_t mask, const std::uint8_t* src, std::uint8_t* dst,
               std::size_t count)
{
    if (count < splitTablePixels)
        return LookupTogether<std::uint16_t>(entries, mask, src, dst, count);
    const Planes<2> planes(static_cast<const std::uint8_t*>(entries));
    const ByteTable low(planes.plane[0]), high(planes.plane[1]);
    EachVector<vectorBytes, 1, 2>(src, dst, count, [=](const std::uint8_t* s, std::uint8_t* d) {
        const ByteVector index = hn::LoadU(bytes, s);
        hn::StoreInterleaved2(low(index), high(index), bytes, d);
    });
}

void LookupFour(const void* entries, std::uint32_t mask, const std::uint8_t* src, std::uint8_t* dst,
                std::size_t count)
{
    if (count < splitTablePixels)
        return LookupTogether<std::uint32_t>(entries, mask, src, dst, count);
    const Planes<4> planes(static_cast<const std::uint8_t*>(entries));
    const ByteTable b0(planes.plane[0]), b1(planes.plane[1]), b2(planes.plane[2]), b3(planes.plane[3]);
    EachVector<vectorBytes, 1, 4>(src, dst, count, [=](const std::uint8_t* s, std::uint8_t* d) {
        const ByteVector index = hn::LoadU(bytes, s);
        hn::StoreInterleaved4(b0(index), b1(index), b2(index), b3(index), bytes, d);
    });
}

void LookupThree(const void* entries, std::uint32_t mask, const std::uint8_t* src, std::uint8_t* dst,
                 std::size_t count)
{
    if (count < splitTablePixels)
        return Plain::LookupThree<std::uint8_t>(entries, mask, src, dst, count);
    const Planes<4> planes(static_cast<const std::uint8_t*>(entries));
    const ByteTable b0(planes.plane[0]), b1(planes.plane[1]), b2(planes.plane[2]);
    EachVector<vectorBytes, 1, 3>(src, dst, count, [=](const std::uint8_t* s, std::uint8_t* d) {
        const ByteVector index = hn::LoadU(bytes, s);
        hn::StoreInterleaved3(b0(index), b1(index), b2(index), bytes, d);
    });
}

/// Two vectors of elements at a time give one of bytes. "16 to 8, gamma and sigma" gains 5.0 times.
void Stepped(const SteppedTable& table, const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
{
    const ByteTable first(table.First().data());
    const ByteVector change = hn::Set(bytes, table.Change());
    const __m128i shift = _mm_cvtsi32_si128(table.Shift());
    const ByteVector places = hn::Add(hn::Iota(bytes, 0), hn::Iota(bytes, 0));
    const ByteVector blocks = hn::Add(places, hn::Set(bytes, 1));
    EachVector<vectorBytes, 2, 1>(src, dst, count, [=, &table](const std::uint8_t* s, std::uint8_t* d) {
        const __m512i a = _mm512_sll_epi16(hn::LoadU(bytes, s).raw, shift);
        const __m512i b = _mm512_sll_epi16(hn::LoadU(bytes, s + vectorBytes).raw, shift);
        const ByteVector block{_mm512_permutex2var_epi8(a, blocks.raw, b)};
        const ByteVector place{_mm512_permutex2var_epi8(a, places.raw, b)};
        ByteVector value = first(block);
        for (std::size_t i = 0; i < table.Steps(); ++i) {
            const ByteVector last = ByteTable(table.LastBefore(i).data())(block);
            value = hn::IfThenElse(hn::Gt(place, last), hn::Add(value, change), value);
        }
        hn::StoreU(value, bytes, d);
    });
}

#else

constexpr LookupKernels::Stepped Stepped = nullptr;
constexpr auto LookupTwo = LookupTogether<std::uint16_t>;
constexpr auto LookupThree = Plain::LookupThree<std::uint8_t>;
constexpr auto LookupFour = LookupTogether<std::uint32_t>;

#endif

/// The blocks at the lowest two offsets of 16 bits.
HWY_INLINE __m128i TwoBlocks(const std::uint8_t* blocks, std::uint64_t offsets)
{
    const std::uint8_t* first = blocks + (offsets & 0xFFFF);
    const std::uint8_t* second = blocks + (offsets >> 16 & 0xFFFF);
    const __m128i low = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(first));
    return _mm_castps_si128(_mm_loadh_pi(_mm_castsi128_ps(low), reinterpret_cast<const __m64*>(second)));
}

/// The blocks at four offsets. Loads: the processor's own gathering takes longer.
HWY_INLINE __m256i FourBlocks(const std::uint8_t* blocks, std::uint64_t offsets)
{
    return _mm256_inserti128_si256(_mm256_castsi128_si256(TwoBlocks(blocks, offsets)),
                                   TwoBlocks(blocks, offsets >> 32), 1);
}

using Blocks = hn::ScalableTag<std::uint64_t>;

/// The colours of as many fields as a vector holds blocks, each in the lower half of its block.
HWY_INLINE hn::Vec<Blocks> ColorsOf(const std::uint8_t* blocks, std::uint16_t mask, const std::uint8_t* src)
{
    constexpr Blocks d;
    constexpr hn::Rebind<std::uint16_t, Blocks> elements;
    constexpr std::size_t block = CompactColors::blockSize;
    static_assert(block == sizeof(std::uint64_t),
                  "a field without its place in a block is the block's offset");
    const std::uint64_t masks = 0x0001000100010001u * (mask & ~(block - 1));
    // Once: a field's block and place belong together, and who writes the source may come between.
    auto field = hn::LoadU(elements, reinterpret_cast<const std::uint16_t*>(src));
    asm volatile("" : "+v"(field.raw));
    const __m256i first =
        FourBlocks(blocks, static_cast<std::uint64_t>(_mm_cvtsi128_si64(field.raw)) & masks);
#if HWY_TARGET <= HWY_AVX3_DL
    const __m256i second =
        FourBlocks(blocks, static_cast<std::uint64_t>(_mm_extract_epi64(field.raw, 1)) & masks);
    const hn::Vec<Blocks> found{_mm512_inserti64x4(_mm512_castsi256_si512(first), second, 1)};
#else
    const hn::Vec<Blocks> found{first};
#endif
    const auto wide = hn::PromoteTo(d, hn::PromoteTo(hn::Rebind<std::uint32_t, Blocks>(), field));
    const auto place = hn::And(wide, hn::Set(d, block - 1));
    const auto more = hn::And(hn::Shr(found, hn::Add(place, hn::Set(d, 32))), hn::Set(d, 0x01010101));
    return hn::Add(found, more);
}

/// "16 to RGBA, ramp" gains 1.7 times, 1.5 times at AVX2.
void Compact(const CompactColors& table, std::uint32_t mask, const std::uint8_t* src, std::uint8_t* dst,
             std::size_t count)
{
    constexpr hn::Repartition<std::uint32_t, Blocks> colors;
    constexpr std::size_t pixelsPerCall = hn::MaxLanes(colors);
    const auto* blocks = reinterpret_cast<const std::uint8_t*>(table.Blocks());
    const auto field = static_cast<std::uint16_t>(mask);
    EachVectorTo<true, pixelsPerCall, 2, 4>(
        src, dst, count, [=](const std::uint8_t* s, std::uint8_t* d, auto store) {
            const auto low = hn::BitCast(colors, ColorsOf(blocks, field, s));
            const auto high = hn::BitCast(colors, ColorsOf(blocks, field, s + pixelsPerCall));
            store(hn::BitCast(bytes, hn::ConcatEven(colors, high, low)), d);
        });
}

/// A part of "the same with powers", which gains 23.7 times.
IndexRange Range(std::uint32_t mask, std::uint32_t sign, const std::uint8_t* src, std::size_t count)
{
    const Words words;
    constexpr std::size_t lanes = hn::MaxLanes(words);
    if (count < lanes)
        return Plain::Range(mask, sign, src, count);
    const auto maskVector = hn::Set(words, static_cast<std::uint16_t>(mask));
    const auto signVector = hn::Set(words, static_cast<std::uint16_t>(sign));
    const auto indices = [&](std::size_t i) {
        const auto elements = hn::BitCast(words, hn::LoadU(bytes, src + 2 * i));
        return hn::Xor(hn::And(elements, maskVector), signVector);
    };
    auto smallest = indices(0);
    auto largest = smallest;
    for (std::size_t i = lanes; i + lanes <= count; i += lanes) {
        const auto now = indices(i);
        smallest = hn::Min(smallest, now);
        largest = hn::Max(largest, now);
    }
    const auto last = indices(count - lanes);
    return {hn::GetLane(hn::MinOfLanes(words, hn::Min(smallest, last))),
            hn::GetLane(hn::MaxOfLanes(words, hn::Max(largest, last)))};
}

constexpr LookupKernels lookupKernels{
    .from8 = {LookupByte, LookupTwo, LookupThree, LookupFour, Plain::Lookup<std::uint8_t, std::uint64_t>},
    .from16 = {LookupWords<std::uint8_t>, LookupWords<std::uint16_t>, Plain::LookupThree<std::uint16_t>,
               LookupWords<std::uint32_t>, LookupWords<std::uint64_t>},
    .rangeOf16 = Range,
    .stepped = Stepped,
    .compact = Compact};

#endif
} // namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Mardu::Sentel::Tavlo {

const LookupKernels avx2Lookup = N_AVX2::lookupKernels;
const LookupKernels avx512Lookup = N_AVX3_DL::lookupKernels;

} // namespace Mardu::Sentel::Tavlo
#endif
