#include "platform/cpuid.h"

#include <sys/syscall.h>
#include <unistd.h>

#include "platform/processor/run_cpuid.h"

namespace platform {
namespace {

// Linux can make the instruction raise SIGSEGV for a thread, as debuggers do that replay programs. Where that can't be
// set or asked for, it is allowed.
bool IsForbidden() {
#ifdef __x86_64__
    constexpr int kGetCpuid = 0x1011;  // ARCH_GET_CPUID of <asm/prctl.h>
    return ::syscall(SYS_arch_prctl, kGetCpuid, 0) == 0;
#else
    return false;
#endif
}

class Instruction final : public Cpuid {
 public:
    std::optional<CpuidRegisters> Ask(std::uint32_t leaf) override {
        CpuidRegisters registers;
        if (IsForbidden() || !processor::RunCpuid(leaf, registers)) return std::nullopt;
        return registers;
    }
};

}  // namespace

Cpuid& ProcessorCpuid() {
    static Instruction& instruction = *new Instruction;  // never destroyed: destructors of globals may still come here
    return instruction;
}

}  // namespace platform
