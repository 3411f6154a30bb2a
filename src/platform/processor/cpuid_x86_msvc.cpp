// For the compilers that know Microsoft's intrinsic functions.
#include <excpt.h>
#include <intrin.h>

#include "platform/processor/run_cpuid.h"

namespace platform::processor {

bool RunCpuid(std::uint32_t leaf, CpuidRegisters& registers) {
    int words[4];
    __try {
        __cpuidex(words, static_cast<int>(leaf), 0);
    } __except (EXCEPTION_EXECUTE_HANDLER) {
        return false;
    }
    registers.eax = static_cast<std::uint32_t>(words[0]);
    registers.ebx = static_cast<std::uint32_t>(words[1]);
    registers.ecx = static_cast<std::uint32_t>(words[2]);
    registers.edx = static_cast<std::uint32_t>(words[3]);
    return true;
}

}  // namespace platform::processor
