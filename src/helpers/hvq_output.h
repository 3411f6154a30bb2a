#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "ipc/records/frame_records.h"

namespace rvo_calyr {

// The result of a frame: the mask and nothing else. One object serves all frames of one pixel count, and keeps what a
// frame left in it until a later one overwrites it.
// Thread: one at a time.
class RvoHvqOutput {
 public:
    // An output for frames with this header, in which nothing has been written yet. Throws std::bad_alloc.
    explicit RvoHvqOutput(const calyr_ipc::IpcFrameHeader& frameHeader);
    virtual ~RvoHvqOutput() = default;
    RvoHvqOutput(const RvoHvqOutput&) = delete;
    RvoHvqOutput& operator=(const RvoHvqOutput&) = delete;

    // Writes this output into a slot, as the record that its class stands for. The status always; all the rest only
    // with a status of 0 and a mask that the record holds, and zeros otherwise. Padding stays as it was, and so does
    // what the slot has behind a smaller record. While it is written, the slot says that it holds nothing.
    virtual void CopyToIpcRecord(calyr_ipc::OutputSlot& slot) const;

    // The mask's bytes; none when it was not allocated. Write through this and there is no way beyond the end.
    std::span<std::uint8_t> MaskBytes() const { return {mask.get(), mask ? maskLength : 0}; }

    std::int32_t status;               // of helpers/status.h; kStatusNothingWritten at first
    calyr_ipc::IpcFrameHeader header;  // of the first frame; only the stamp is changed afterwards
    // Pixels of the frame. What 32 bits don't hold counts as 0xFFFFFFFF, so that a large frame never reads as a small
    // one. Above kMaskCapacity the mask could not be delivered: it is not allocated, and null.
    const std::uint32_t maskLength;
    const std::unique_ptr<std::uint8_t[]> mask;  // maskLength bytes, one per pixel, row by row

 protected:
    // Whether a record may hold more of this than the status.
    bool IsDeliverable() const { return status == 0 && maskLength <= calyr_ipc::kMaskCapacity; }
};

}  // namespace rvo_calyr
