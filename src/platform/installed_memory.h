#pragma once

#include <cstdint>

namespace platform {

// The machine's memory. Thread: any. Throws nothing.
class InstalledMemory {
 public:
    virtual ~InstalledMemory() = default;

    // Physical memory that the system can use, in bytes; 0 when it does not tell.
    virtual std::uint64_t TotalBytes() = 0;
};

// The operating system's own.
InstalledMemory& SystemInstalledMemory();

}  // namespace platform
