#pragma once

#include <cstdint>
#include <optional>

namespace platform {

// What the instruction leaves in the four registers.
struct CpuidRegisters {
    std::uint32_t eax = 0;
    std::uint32_t ebx = 0;
    std::uint32_t ecx = 0;
    std::uint32_t edx = 0;
};

// CPUID, the instruction by which a processor tells about itself. Thread: any. Throws nothing.
class Cpuid {
 public:
    virtual ~Cpuid() = default;

    // Runs the instruction for `leaf` (and the sub-leaf 0) on whatever processor this thread is on. Nothing when it
    // can't be run: on other architectures, and where the system forbids it.
    virtual std::optional<CpuidRegisters> Ask(std::uint32_t leaf) = 0;
};

// The processor's own.
Cpuid& ProcessorCpuid();

}  // namespace platform
