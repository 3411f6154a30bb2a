#include "probes/installed_memory.h"

namespace probes {

std::uint32_t ReadInstalledMemoryMb(const platform::Machine& machine) {
    const std::uint64_t megabytes = machine.memory.TotalBytes() >> 20;
    return static_cast<std::uint32_t>((megabytes + 512) & ~std::uint64_t{1023});
}

}  // namespace probes
