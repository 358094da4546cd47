#include "recode/kernels/kernels.h"

#include "recode/kernels/plain_kernels.h"
#include "recode/kernels/vector_kernels.h"

namespace Mardu::Sentel::Tavlo {
namespace {

const Kernels avx2Kernels{avx2Lookup, avx2Linear, avx2Bent, avx2Cast, avx2Color, avx2Move, avx2Pick};
const Kernels avx512Kernels{avx512Lookup, avx512Linear, avx512Bent, avx512Cast,
                            avx512Color,  avx512Move,   avx512Pick};

} // namespace

const Kernels& KernelsOf(SimdLevel level) noexcept
{
    switch (level) {
    case SimdLevel::avx512:
        return avx512Kernels;
    case SimdLevel::avx2:
        return avx2Kernels;
    case SimdLevel::plain:
        break;
    }
    return plainKernels;
}

} // namespace Mardu::Sentel::Tavlo
