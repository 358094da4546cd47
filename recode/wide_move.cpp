#include "recode/plain_loops.h"
#include "recode/wide_kernels.h"

namespace Mardu::Sentel::Tavlo {
using namespace Plain;

const MoveKernels avx2Move{
    .reverse = {Reverse<1>, Reverse<2>, Reverse<3>, Reverse<4>, Reverse<8>},
    .transpose = {Transpose<1>, Transpose<2>, Transpose<3>, Transpose<4>, Transpose<8>}};
const MoveKernels avx512Move = avx2Move;

} // namespace Mardu::Sentel::Tavlo
