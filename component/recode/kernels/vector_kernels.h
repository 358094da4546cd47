#pragma once

#include "recode/kernels/kernels.h"

namespace Mardu::Sentel::Tavlo {

// The loops over vectors: one source a subject, compiled once for each level above the plain one.

extern const CastKernels avx2Cast;
extern const CastKernels avx512Cast;
extern const LookupKernels avx2Lookup;
extern const LookupKernels avx512Lookup;
extern const CurveKernels avx2Linear;
extern const CurveKernels avx512Linear;
extern const CurveKernels avx2Bent;
extern const CurveKernels avx512Bent;
extern const ColorKernels avx2Color;
extern const ColorKernels avx512Color;
extern const MoveKernels avx2Move;
extern const MoveKernels avx512Move;
extern const PickKernels avx2Pick;
extern const PickKernels avx512Pick;

} // namespace Mardu::Sentel::Tavlo
