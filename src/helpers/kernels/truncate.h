#pragma once

#include <cstdint>
#include <limits>

namespace rvo_calyr::kernels {

// `value` truncated toward zero to a signed 32-bit integer. What doesn't fit, not-a-number included, gives -2^31: that
// is the answer of the x86 processor's conversion, while the language leaves it undefined.
template <class Floating>
std::int32_t TruncateToInt32(Floating value) {
    constexpr Floating kLimit = 2147483648.0;  // 2^31, exact in a float
    // In a float nothing lies between -2^31 - 1 and -2^31, and in a double what does truncates to -2^31 anyway. So
    // this one test holds for both; it fails for not-a-number.
    if (value >= -kLimit && value < kLimit) {
        return static_cast<std::int32_t>(value);
    }
    return std::numeric_limits<std::int32_t>::min();
}

}  // namespace rvo_calyr::kernels
