#if defined(TAVLO_RECODE_PIXEL_TRIPLES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVLO_RECODE_PIXEL_TRIPLES_INL_H
#undef TAVLO_RECODE_PIXEL_TRIPLES_INL_H
#else
#define TAVLO_RECODE_PIXEL_TRIPLES_INL_H
#endif

#include "recode/kernels/vector_rows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE {
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3_DL

// Three vectors hold as many three-byte pixels as one has bytes. Their bytes change places by a
// Pattern: byte `to` of the result is byte Pattern::From(to), for one period of bytes.

#if HWY_TARGET <= HWY_AVX3_DL

/// Permutes reach all bytes of two vectors.
class PixelTriple
{
public:
    static constexpr std::size_t period = 3 * vectorBytes;

    HWY_INLINE explicit PixelTriple(const std::uint8_t* at)
        : v_{hn::LoadU(bytes, at), hn::LoadU(bytes, at + vectorBytes), hn::LoadU(bytes, at + 2 * vectorBytes)}
    {
    }

    /// With periods in the opposite order.
    HWY_INLINE static PixelTriple Backwards(const std::uint8_t* at) { return PixelTriple(at); }

    template <class Map>
    HWY_INLINE void Each(const Map& map)
    {
        v_[0] = map(v_[0]);
        v_[1] = map(v_[1]);
        v_[2] = map(v_[2]);
    }

    template <class Pattern, class Store>
    HWY_INLINE void StorePermuted(std::uint8_t* at, const Store& store) const
    {
        store(Permuted<Pattern, 0>(), at);
        store(Permuted<Pattern, 1>(), at + vectorBytes);
        store(Permuted<Pattern, 2>(), at + 2 * vectorBytes);
    }

    /// A quarter of the pixels, in order, in four bytes each. The byte of a pixel that comes first,
    /// second and so on; 3 stands for one of no meaning.
    template <std::size_t part, std::size_t b0, std::size_t b1, std::size_t b2, std::size_t b3>
    HWY_INLINE ByteVector Expanded() const
    {
        constexpr std::size_t begin = part * period / 4;
        constexpr std::size_t first = begin / vectorBytes;
        static constexpr Index index([](std::size_t i) {
            constexpr std::size_t from[] = {b0, b1, b2, b3};
            return begin - first * vectorBytes + i / 4 * 3 + from[i % 4] % 3;
        });
        return {_mm512_permutex2var_epi8(v_[first].raw, index.Load(), v_[first < 2 ? first + 1 : 2].raw)};
    }

private:
    struct Index
    {
        alignas(vectorBytes) std::uint8_t of[vectorBytes];

        template <class From>
        constexpr explicit Index(const From& from) : of{}
        {
            for (std::size_t i = 0; i < vectorBytes; ++i)
                of[i] = static_cast<std::uint8_t>(from(i) % (2 * vectorBytes));
        }

        HWY_INLINE __m512i Load() const { return hn::LoadU(bytes, of).raw; }
    };

    template <class Pattern, std::size_t part>
    HWY_INLINE ByteVector Permuted() const
    {
        static constexpr Index index([](std::size_t i) { return Pattern::From(part * vectorBytes + i); });
        constexpr std::uint64_t last = [] {
            std::uint64_t mask = 0;
            for (std::size_t i = 0; i < vectorBytes; ++i)
                if (Pattern::From(part * vectorBytes + i) >= 2 * vectorBytes)
                    mask |= std::uint64_t{1} << i;
            return mask;
        }();
        const __m512i places = index.Load();
        const __m512i firsts = _mm512_permutex2var_epi8(v_[0].raw, places, v_[1].raw);
        return {_mm512_mask_permutexvar_epi8(firsts, last, places, v_[2].raw)};
    }

    ByteVector v_[3];
};

#else

/// Shuffles stay in blocks of 16 bytes: three blocks, a period, lie in the lower halves of the
/// vectors, the next three in the upper halves.
class PixelTriple
{
public:
    static constexpr std::size_t period = 48;

    HWY_INLINE explicit PixelTriple(const std::uint8_t* at) : PixelTriple(at, at + period) {}

    /// With periods in the opposite order.
    HWY_INLINE static PixelTriple Backwards(const std::uint8_t* at) { return PixelTriple(at + period, at); }

    template <class Map>
    HWY_INLINE void Each(const Map& map)
    {
        v_[0] = map(v_[0]);
        v_[1] = map(v_[1]);
        v_[2] = map(v_[2]);
    }

    template <class Pattern, class Store>
    HWY_INLINE void StorePermuted(std::uint8_t* at, const Store& store) const
    {
        const ByteVector a = Permuted<Pattern, 0>();
        const ByteVector b = Permuted<Pattern, 1>();
        const ByteVector c = Permuted<Pattern, 2>();
        store(hn::ConcatLowerLower(bytes, b, a), at);
        store(hn::ConcatUpperLower(bytes, a, c), at + vectorBytes);
        store(hn::ConcatUpperUpper(bytes, c, b), at + 2 * vectorBytes);
    }

    /// A quarter of the pixels of either period, in four bytes each. The byte of a pixel that
    /// comes first, second and so on; 3 stands for one of no meaning.
    template <std::size_t part, std::size_t b0, std::size_t b1, std::size_t b2, std::size_t b3>
    HWY_INLINE ByteVector Expanded() const
    {
        static constexpr Index index([](std::size_t i) {
            constexpr std::size_t from[] = {b0, b1, b2, b3};
            return (part == 3 ? 4 : 0) + i / 4 * 3 + from[i % 4] % 3;
        });
        return hn::TableLookupBytes(Quarter<part>(), index.Load());
    }

private:
    struct Index
    {
        alignas(16) std::uint8_t of[16];

        /// Positions beyond a block stand for a zero.
        template <class From>
        constexpr explicit Index(const From& from) : of{}
        {
            for (std::size_t i = 0; i < 16; ++i)
                of[i] = static_cast<std::uint8_t>(from(i) < 16 ? from(i) : 0x80);
        }

        constexpr bool IsNeeded() const
        {
            for (const std::uint8_t i : of)
                if (i < 16)
                    return true;
            return false;
        }

        HWY_INLINE ByteVector Load() const { return hn::LoadDup128(bytes, of); }
    };

    HWY_INLINE PixelTriple(const std::uint8_t* lower, const std::uint8_t* upper)
        : v_{Halves(lower, upper), Halves(lower + 16, upper + 16), Halves(lower + 32, upper + 32)}
    {
    }

    HWY_INLINE static ByteVector Halves(const std::uint8_t* lower, const std::uint8_t* upper)
    {
        constexpr hn::Half<Bytes> half;
        return hn::Combine(bytes, hn::LoadU(half, upper), hn::LoadU(half, lower));
    }

    /// Twelve bytes of either period at the beginning of the halves, the last ones at their end.
    template <std::size_t part>
    HWY_INLINE ByteVector Quarter() const
    {
        if constexpr (part == 0)
            return v_[0];
        else if constexpr (part == 1)
            return hn::CombineShiftRightBytes<12>(bytes, v_[1], v_[0]);
        else if constexpr (part == 2)
            return hn::CombineShiftRightBytes<8>(bytes, v_[2], v_[1]);
        else
            return v_[2];
    }

    template <class Pattern, std::size_t part>
    HWY_INLINE ByteVector Permuted() const
    {
        return hn::Or(hn::Or(Taken<Pattern, part, 0>(), Taken<Pattern, part, 1>()),
                      Taken<Pattern, part, 2>());
    }

    /// What a part of the result takes from a block.
    template <class Pattern, std::size_t part, std::size_t block>
    HWY_INLINE ByteVector Taken() const
    {
        static constexpr Index index([](std::size_t i) {
            const std::size_t from = Pattern::From(part * 16 + i);
            return from / 16 == block ? from % 16 : 16;
        });
        if constexpr (index.IsNeeded())
            return hn::TableLookupBytesOr0(v_[block], index.Load());
        else
            return hn::Zero(bytes);
    }

    ByteVector v_[3];
};

#endif
#endif
} // namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
