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

/// The first byte of each of so many groups as a vector has bytes.
template <std::size_t distance>
HWY_INLINE ByteVector FirstBytes(const std::uint8_t* src)
{
    ByteVector v[4];
    if constexpr (distance == 2) {
#if HWY_TARGET == HWY_AVX3_DL
        const ByteVector even = hn::Add(hn::Iota(bytes, 0), hn::Iota(bytes, 0));
        const ByteVector low = hn::LoadU(bytes, src);
        const ByteVector high = hn::LoadU(bytes, src + step);
        return ByteVector{_mm512_permutex2var_epi8(low.raw, even.raw, high.raw)};
#else
        hn::LoadInterleaved2(bytes, src, v[0], v[1]);
#endif
    } else if constexpr (distance == 3) {
        hn::LoadInterleaved3(bytes, src, v[0], v[1], v[2]);
    } else {
        hn::LoadInterleaved4(bytes, src, v[0], v[1], v[2], v[3]);
    }
    return v[0];
}

template <std::size_t distance>
void Pick(const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
{
    // Of the last group only the first byte is there for sure.
    std::size_t i = 0;
    for (; i + step < count; i += step)
        hn::StoreU(FirstBytes<distance>(src + i * distance), bytes, dst + i);
    Plain::Pick<distance>(src + i * distance, dst + i, count - i);
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
