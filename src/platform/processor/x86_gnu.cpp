// For the compilers that know GCC's built-in functions.
#include "platform/processor_features.h"

namespace platform {

ProcessorFeatures ThisProcessorsFeatures() {
    __builtin_cpu_init();  // may run before the run-time library's own start-up has called it
    ProcessorFeatures features;
    features.avx2 = __builtin_cpu_supports("avx2") != 0;  // looks at the system's part as well
    features.popcnt = __builtin_cpu_supports("popcnt") != 0;
    return features;
}

}  // namespace platform
