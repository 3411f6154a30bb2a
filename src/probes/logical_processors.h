#pragma once

#include <cstdint>

#include "platform/machine.h"

// What the processor itself says about its logical processors. Nothing here throws. Thread: any.
namespace probes {

// Non-zero when the processor says that it can run more than one logical processor per package. Only Intel's are
// believed, and of those only family 15 and the ones with an extended family: later ones, which are of family 6, give
// 0. So it is meant. 0 also when the processor can't be asked.
std::uint32_t HasHyperThreading(const platform::Machine& machine = platform::ThisMachine());

// Logical processors per package, 0 to 255; 1 without HasHyperThreading.
std::uint32_t ReadLogicalPerPackage(const platform::Machine& machine = platform::ThisMachine());

// The number that this thread's processor was given at the start; 255 without HasHyperThreading.
std::uint8_t ReadInitialApicId(const platform::Machine& machine = platform::ThisMachine());

// The number of set bits.
std::uint32_t CountMaskBits(std::uint64_t mask);

}  // namespace probes
