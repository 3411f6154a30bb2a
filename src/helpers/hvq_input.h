#pragma once

#include <cstddef>
#include <cstdint>

#include "ipc/records/frame_records.h"

namespace rvo_calyr {

inline constexpr std::size_t kFramePlanes = 3;

// One frame on its way to a helper. Owns nothing: `data` points into the slot that the frame came in, and is valid
// while the slot is held. Thread: one at a time.
class RvoHvqInput {
 public:
    // Fills an input slot with this frame: the reverse of reading one. A frame without data, or with more than the
    // record holds (691,200 bytes), leaves an empty record. Padding stays as it was. While it is written, the slot says
    // that it holds nothing. `slot` is published by the caller.
    virtual void CopyToIpcRecord(calyr_ipc::InputSlot& slot) const;

    std::uint8_t temporalEnabled = 0;  // other than 0: frames may be skipped while the picture stays the same
    std::uint32_t dataSize = 0;        // bytes in `data`
    // Three planes of width × height bytes, one after the other, no row padding: readable as a whole, whatever dataSize
    // says, as a slot is.
    const std::uint8_t* data = nullptr;
    calyr_ipc::IpcFrameHeader header{};  // travels as it stands
};

}  // namespace rvo_calyr
