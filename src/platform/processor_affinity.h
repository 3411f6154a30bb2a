#pragma once

#include <cstdint>

namespace platform {

// Bit i stands for logical processor i.
struct ProcessorMasks {
    std::uint64_t process = 0;  // those that this process may run on
    std::uint64_t system = 0;   // those that there are
};

// Which logical processors may run this process. On Windows a mask is that of the whole process; on Linux it belongs to
// the calling thread, and the others stay where they are.
class ProcessorAffinity {
 public:
    virtual ~ProcessorAffinity() = default;

    // Logical processors that there are, from 1.
    virtual std::uint32_t ProcessorCount() = 0;

    // Both masks. False, with nothing written, when the system does not tell, which on Linux includes processors with a
    // number above 63: there is no bit for them. Throws nothing, like the other operations.
    virtual bool ReadMasks(ProcessorMasks& masks) = 0;

    // Confines the process to these processors. False when the system refuses, as it does for an empty mask.
    virtual bool Confine(std::uint64_t processMask) = 0;

    // Gives up the rest of this thread's turn, so that it goes on where it is allowed to run by now.
    virtual void GiveUpTurn() = 0;
};

// The operating system's own.
ProcessorAffinity& SystemProcessorAffinity();

}  // namespace platform
