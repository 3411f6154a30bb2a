#pragma once

#include "helpers/kernels/kernels.h"

namespace rvo_calyr::kernels {

// Data, not functions that return it: nothing of a version may run before the processor is known to understand it.
extern const Kernels kSse2Kernels;
extern const Kernels kAvx2Kernels;

}  // namespace rvo_calyr::kernels
