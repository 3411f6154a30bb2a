#include "platform/cpuid.h"

#include "platform/processor/run_cpuid.h"

namespace platform {
namespace {

class Instruction final : public Cpuid {
 public:
    std::optional<CpuidRegisters> Ask(std::uint32_t leaf) override {
        CpuidRegisters registers;
        if (!processor::RunCpuid(leaf, registers)) return std::nullopt;
        return registers;
    }
};

}  // namespace

Cpuid& ProcessorCpuid() {
    static Instruction& instruction = *new Instruction;  // never destroyed: destructors of globals may still come here
    return instruction;
}

}  // namespace platform
