#pragma once

#include <cstdint>

#include "platform/machine.h"

namespace probes {

// The processor's frequency in MHz: what the system keeps about it, or what the brand says behind its "@", if that is
// less. 0 when the system doesn't tell, whatever the brand says. Throws std::bad_alloc. Thread: any.
std::uint32_t ReadProcessorMhz(const platform::Machine& machine = platform::ThisMachine());

}  // namespace probes
