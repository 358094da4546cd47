#include "recode/kernels/simd_level.h"

#include <hwy/highway.h>

#include <algorithm>
#include <atomic>

namespace Mardu::Sentel::Tavlo {
namespace {

SimdLevel Detect() noexcept
{
    const auto supported = hwy::SupportedTargets();
    if ((supported & HWY_AVX3_DL) != 0)
        return SimdLevel::avx512;
    return (supported & HWY_AVX2) != 0 ? SimdLevel::avx2 : SimdLevel::plain;
}

std::atomic<SimdLevel>& Active() noexcept
{
    static std::atomic<SimdLevel> level{BestSimdLevel()};
    return level;
}

} // namespace

const char* NameOf(SimdLevel level) noexcept
{
    constexpr const char* names[] = {"plain", "avx2", "avx512"};
    return names[static_cast<int>(level)];
}

SimdLevel BestSimdLevel() noexcept
{
    static const SimdLevel best = Detect();
    return best;
}

SimdLevel ActiveSimdLevel() noexcept
{
    return Active().load(std::memory_order_relaxed);
}

void ForceSimdLevel(SimdLevel level) noexcept
{
    Active().store(std::min(level, BestSimdLevel()), std::memory_order_relaxed);
}

} // namespace Mardu::Sentel::Tavlo
