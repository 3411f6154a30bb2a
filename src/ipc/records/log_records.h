#pragma once

#include <cstdint>

#include "ipc/wire_assert.h"

// Log lines on their way to the parent, cut into chunks.
namespace calyr_ipc {

inline constexpr std::uint8_t kFirstChunk =
    1;                                         // of a line; its payload begins with the level, an unsigned 32-bit value
inline constexpr std::uint8_t kLastChunk = 2;  // of a line; both bits are set in a line of one chunk

// The slot type of the log channel itself, with no variant around it.
struct IpcLogChunk {
    std::uint8_t flags;  // kFirstChunk | kLastChunk; neither in a chunk from the middle
    std::uint8_t padding1[3];
    std::uint32_t length;       // bytes of payload that count, the level included; at most 503
    std::uint8_t payload[504];  // no terminator; what stands behind length is left over from earlier
};
WIRE_RECORD(IpcLogChunk, 512, 4);
WIRE_FIELD(IpcLogChunk, flags, 0, 1);
WIRE_FIELD(IpcLogChunk, padding1, 1, 3);
WIRE_FIELD(IpcLogChunk, length, 4, 4);
WIRE_FIELD(IpcLogChunk, payload, 8, 504);

}  // namespace calyr_ipc
