#pragma once

#include <cstdint>

#include "platform/machine.h"

namespace probes {

// The major number of the product version (not of the file version) of the system's kernel32.dll, which no
// compatibility layer changes. 0 when it can't be read, as always on Linux. Throws std::bad_alloc. Thread: any.
std::uint32_t ReadKernelProductMajor(const platform::Machine& machine = platform::ThisMachine());

}  // namespace probes
