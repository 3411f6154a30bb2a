// For the compilers that know Microsoft's intrinsic functions.
#include <immintrin.h>
#include <intrin.h>

#include "platform/processor_features.h"

namespace platform {

namespace {

constexpr unsigned int kPopcnt = 1u << 23;        // leaf 1, ecx
constexpr unsigned int kOsXsave = 1u << 27;       // leaf 1, ecx: xgetbv may be executed
constexpr unsigned int kAvx2 = 1u << 5;           // leaf 7, ebx
constexpr unsigned long long kSavedYmm = 0b110u;  // xcr0: the system saves both halves of the 256-bit registers

}  // namespace

ProcessorFeatures ThisProcessorsFeatures() {
    int leaf0[4];
    int leaf1[4];
    __cpuid(leaf0, 0);
    __cpuid(leaf1, 1);
    const unsigned int ecx = static_cast<unsigned int>(leaf1[2]);
    ProcessorFeatures features;
    features.popcnt = (ecx & kPopcnt) != 0;
    if (leaf0[0] >= 7 && (ecx & kOsXsave) != 0 && (_xgetbv(0) & kSavedYmm) == kSavedYmm) {
        int leaf7[4];
        __cpuidex(leaf7, 7, 0);
        features.avx2 = (static_cast<unsigned int>(leaf7[1]) & kAvx2) != 0;
    }
    return features;
}

}  // namespace platform
