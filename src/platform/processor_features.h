#pragma once

namespace platform {

// Instruction sets beyond the architecture's base that this processor has and the operating system lets programs use.
// All false on an architecture that doesn't know them.
struct ProcessorFeatures {
    bool avx2 = false;    // 256-bit integer operations; the system saves the registers' upper halves, too
    bool popcnt = false;  // counting the bits of a word
};

// What the processor under this thread can do; all processors of a machine can do the same. Thread: any. Throws
// nothing.
ProcessorFeatures ThisProcessorsFeatures();

}  // namespace platform
