#include "helpers/kernels/kernels.h"

namespace rvo_calyr::kernels {

const Kernels& BestKernels(const platform::ProcessorFeatures& features) {
    if (const Kernels* const avx2 = Avx2Kernels(); avx2 != nullptr && features.avx2 && features.popcnt) {
        return *avx2;
    }
    if (const Kernels* const sse2 = Sse2Kernels(); sse2 != nullptr) {
        return *sse2;
    }
    return PlainKernels();
}

const Kernels& BestKernels() {
    static const Kernels& best = BestKernels(platform::ThisProcessorsFeatures());
    return best;
}

}  // namespace rvo_calyr::kernels
