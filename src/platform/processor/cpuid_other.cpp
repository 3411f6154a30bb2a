// For architectures without the instruction.
#include "platform/processor/run_cpuid.h"

namespace platform::processor {

bool RunCpuid(std::uint32_t /*leaf*/, CpuidRegisters& /*registers*/) {
    return false;
}

}  // namespace platform::processor
