#include "recode/plain_loops.h"
#include "recode/wide_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "recode/wide_pick.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "recode/wide_rows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE {
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3_DL

/// Bytes of as many groups as a vector has bytes: of each the one at this position.
template <std::size_t distance, std::size_t position = 0>
HWY_INLINE ByteVector Picked(const std::uint8_t* src)
{
    ByteVector v[4];
    if constexpr (distance == 2) {
#if HWY_TARGET == HWY_AVX3_DL
        const ByteVector even = hn::Add(hn::Iota(bytes, 0), hn::Iota(bytes, 0));
        const ByteVector order = hn::Add(even, hn::Set(bytes, position));
        const ByteVector low = hn::LoadU(bytes, src);
        const ByteVector high = hn::LoadU(bytes, src + step);
        return ByteVector{_mm512_permutex2var_epi8(low.raw, order.raw, high.raw)};
#else
        hn::LoadInterleaved2(bytes, src, v[0], v[1]);
#endif
    } else if constexpr (distance == 3) {
        hn::LoadInterleaved3(bytes, src, v[0], v[1], v[2]);
    } else {
        hn::LoadInterleaved4(bytes, src, v[0], v[1], v[2], v[3]);
    }
    return v[position];
}

template <std::size_t distance>
void Pick(const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
{
    // Of the last group only the first byte is there for sure.
    std::size_t whole = count == 0 ? 0 : (count - 1) / step * step;
    const std::size_t rest = count - whole;
    if constexpr (distance == 2) {
        // Upper bytes of words: behind the first vector a load may begin with the byte before, where words
        // do, and so need not reach into another line of the cache.
        if (whole != 0 && reinterpret_cast<std::uintptr_t>(src) % 2 != 0) {
            hn::StoreU(Picked<2>(src), bytes, dst);
            src += 2 * step;
            dst += step;
            whole -= step;
            EachVectorTo<true, step, 2, 1>(
                src - 1, dst, whole,
                [](const std::uint8_t* s, std::uint8_t* d, auto store) { store(Picked<2, 1>(s), d); });
            return Plain::Pick<2>(src + 2 * whole, dst + whole, rest);
        }
    }
    EachVectorTo<true, step, distance, 1>(
        src, dst, whole,
        [](const std::uint8_t* s, std::uint8_t* d, auto store) { store(Picked<distance>(s), d); });
    Plain::Pick<distance>(src + distance * whole, dst + whole, rest);
}

constexpr PickKernels pickKernels{Pick<2>, Pick<3>, Pick<4>};

#endif
} // namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Mardu::Sentel::Tavlo {

const PickKernels avx2Pick = N_AVX2::pickKernels;
const PickKernels avx512Pick = N_AVX3_DL::pickKernels;

} // namespace Mardu::Sentel::Tavlo
#endif
