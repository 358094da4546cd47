#pragma once

namespace Mardu::Sentel::Tavlo {

/// The instructions that the inner loops use; each level gives the same results, bit by bit.
enum class SimdLevel
{
    plain,  ///< what every x86-64 processor has
    avx2,   ///< AVX2 and FMA
    avx512, ///< AVX-512 with its byte permutes (VBMI)
};

inline constexpr SimdLevel simdLevels[] = {SimdLevel::plain, SimdLevel::avx2, SimdLevel::avx512};

const char* NameOf(SimdLevel level) noexcept;

/// The highest level that this processor and its system have.
SimdLevel BestSimdLevel() noexcept;

/// The level in use: the best one, unless another was forced.
SimdLevel ActiveSimdLevel() noexcept;

/// For tests and measurements: no conversion may be under way. A level above the best one is
/// cut to it.
void ForceSimdLevel(SimdLevel level) noexcept;

} // namespace Mardu::Sentel::Tavlo
