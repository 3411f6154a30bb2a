// For the compilers that know GCC's inline assembly.
#include <cpuid.h>

#include "platform/processor/run_cpuid.h"

namespace platform::processor {

// Every 64-bit x86 processor has the instruction and lets every program run it, so there is nothing to catch. What can
// forbid it is a setting of Linux, which is asked for before.
bool RunCpuid(std::uint32_t leaf, CpuidRegisters& registers) {
    __cpuid_count(leaf, 0, registers.eax, registers.ebx, registers.ecx, registers.edx);
    return true;
}

}  // namespace platform::processor
