#pragma once

#include <cstdint>

#include "platform/cpuid.h"

namespace platform::processor {

// Runs the instruction for `leaf` and the sub-leaf 0. False, with nothing written, where there is no such instruction
// or where it raised an exception that the compiler's code can catch.
bool RunCpuid(std::uint32_t leaf, CpuidRegisters& registers);

}  // namespace platform::processor
