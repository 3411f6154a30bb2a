#pragma once

#include <cstdint>

#include "platform/machine.h"

namespace probes {

// What CountProcessorCores returns.
inline constexpr std::int32_t kCoresCounted = 0;          // by the system's list, or nothing is known of siblings
inline constexpr std::int32_t kSeveralLogicalInUse = 1;   // or physicalCores is kRestrictedProcess
inline constexpr std::int32_t kOneLogicalPerPackage = 2;  // the package has no more
inline constexpr std::int32_t kNoSiblingActive = 3;       // the package could run more, but none is active

// What physicalCores is, on purpose, when the count needs all processors and this process may not run on all of them.
inline constexpr std::uint32_t kRestrictedProcess = 255;

// Counts the machine's cores: by the system's list of them, or the classic way where that can't be had.
//   physicalCores   out: cores; the marker kRestrictedProcess; of the classic way without siblings, logical processors
//   logicalPerCore  out: logical processors per core, truncated
// Of a list without a single core physicalCores is 0 and logicalPerCore 1. Returns one of the codes above. Throws
// nothing of its own.
// Thread: any, but not beside code that sets affinity: the classic way moves the process from processor to processor
// for a moment, which disturbs all its threads, and puts the affinity back, also when a seam throws.
std::int32_t CountProcessorCores(std::uint32_t& physicalCores, std::uint32_t& logicalPerCore,
                                 const platform::Machine& machine = platform::ThisMachine());

}  // namespace probes
