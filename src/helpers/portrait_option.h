#pragma once

#include <cstddef>
#include <cstdint>

namespace rvo_calyr {

// Room for a path in an option, terminator included. A text that fills it all has no terminator; readers stop at the
// last byte.
inline constexpr std::size_t kPathBytes = 1024;

// What the parent asks for with its Init command: which family of models, in which quality, on which device, and where
// the files lie. Lives in process memory only; the wire form is calyr_ipc::IpcCommandInit. All texts are bytes as they
// came. The values here are those of an option that nobody has set.
struct _CalyrPortraitOption {
    std::uint8_t flag0 = 1;  // the three flags never cross the wire, and nobody reads them
    std::uint8_t flag1 = 0;
    std::uint8_t flag2 = 1;
    std::int32_t deviceType = 2;         // 0 automatic, 1 processor, 2 graphics, 3 neural processor
    std::int32_t modelQuality = 3;       // 0 is 256 × 144, 1 is 640 × 360; 3 names nothing
    std::int32_t modelType = 0;          // the family of models: 0, 1 or 2
    char modelPath[kPathBytes] = {};     // folder of the model files; empty: that of the program's own file
    char enginePath[kPathBytes] = {};    // folder of hvq.dll; empty: the same
    char reservedPath[kPathBytes] = {};  // stays empty: the command carries three texts, and none of them is for it
    char gpuCachePath[kPathBytes] = {};  // the engine's cache folder; empty: none
};

}  // namespace rvo_calyr
