#include "helpers/kernels/byte_floats.h"

#include "helpers/kernels/kernels.h"

namespace rvo_calyr {

void WidenBytes(std::span<const std::uint8_t> bytes, std::span<float> floats) {
    kernels::BestKernels().widenBytes(bytes.data(), bytes.size(), floats.data());
}

void ConvertMask(std::span<const float> floats, std::span<std::uint8_t> mask) {
    kernels::BestKernels().convertMask(floats.data(), floats.size(), mask.data());
}

std::uint64_t ConvertMask(std::span<const float> floats, std::span<std::uint8_t> mask,
                          std::span<std::uint8_t> previousMask) {
    return kernels::BestKernels().convertMaskTwice(floats.data(), floats.size(), mask.data(), previousMask.data());
}

}  // namespace rvo_calyr
