#include "helpers/kernels/x86_kernels.h"

namespace rvo_calyr::kernels {

const Kernels* Sse2Kernels() {
    return &kSse2Kernels;
}

const Kernels* Avx2Kernels() {
    return &kAvx2Kernels;
}

}  // namespace rvo_calyr::kernels
