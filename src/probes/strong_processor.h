#pragma once

#include "platform/machine.h"

namespace probes {

// Whether this processor is strong enough: with 8 cores and more any is; with 4 to 7 an Intel Core from i7 on, and a
// Xeon. Nothing else is, whatever its model says. Throws std::out_of_range "stoi argument out of range" for a model
// number above 31 bits, and std::bad_alloc. Thread: as CountProcessorCores.
bool IsStrongProcessor(const platform::Machine& machine = platform::ThisMachine());

}  // namespace probes
