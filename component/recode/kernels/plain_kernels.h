#pragma once

#include "recode/kernels/kernels.h"

namespace Mardu::Sentel::Tavlo {

extern const Kernels plainKernels;

} // namespace Mardu::Sentel::Tavlo
