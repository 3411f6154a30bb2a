#pragma once

#include "platform/machine.h"

namespace probes {

// True when the machine's own word has 64 bits, whatever this process was built for: on Itanium, x64 and 64-bit Arm.
// False also when the system doesn't tell. Throws nothing. Thread: any.
bool IsNative64Bit(const platform::Machine& machine = platform::ThisMachine());

// "x86_64", without looking at anything.
const char* ProcessorArchitectureName();

}  // namespace probes
