// For architectures that no vector version is written for.
#include "helpers/kernels/kernels.h"

namespace rvo_calyr::kernels {

const Kernels* Sse2Kernels() {
    return nullptr;
}

const Kernels* Avx2Kernels() {
    return nullptr;
}

}  // namespace rvo_calyr::kernels
