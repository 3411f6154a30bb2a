#pragma once

#include <cstdint>

#include "platform/machine.h"

namespace probes {

// The machine's physical memory in MB (of 1,048,576 bytes), rounded to the nearest whole 1024 of them: 500 MB are 0.
// 0 also when the system doesn't tell. Throws nothing. Thread: any.
std::uint32_t ReadInstalledMemoryMb(const platform::Machine& machine = platform::ThisMachine());

}  // namespace probes
