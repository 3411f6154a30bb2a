#pragma once

#include <string>

#include "platform/machine.h"

namespace probes {

// The processor's own name for itself: up to 48 bytes of any value but 0, with blanks as they stand, leading ones too.
// Empty when the processor has none or can't be asked. Throws std::bad_alloc. Thread: any.
std::string ReadProcessorBrand(const platform::Machine& machine = platform::ThisMachine());

}  // namespace probes
