#pragma once

#include <cstdint>

namespace velmo_report {

// What became of a frame.
enum class FrameOutcome : std::uint8_t {
    Inferred,  // a mask made for it
    Reused,    // an older mask, as when it was skipped
    NoMask,    // a result without a mask
    Lost,      // no result
};

// The word for it in files: "inferred", "reused", "no mask", "lost".
const char* NameOf(FrameOutcome outcome);

// One frame's way. Times in milliseconds; one that can't be told is below 0.
struct FrameRecord {
    std::uint64_t index = 0;
    FrameOutcome outcome = FrameOutcome::Lost;
    float waitingMs = -1;  // from when it was read, scaled and due to when there was room for it
    float hostMs = -1;     // from there to the mask, which was made in the process; Inferred only
    float wayBackMs = -1;  // from the mask to its arrival here, in whole milliseconds; Inferred only
    float latencyMs = -1;  // from when there was room to the result's arrival; all but Lost
    float maskAgeMs = -1;  // of the mask, at its arrival; Inferred and Reused
};

}  // namespace velmo_report
