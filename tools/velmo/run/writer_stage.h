#pragma once

#include "velmo_run/frame_belt.h"
#include "velmo_run/frame_writer.h"
#include "velmo_run/stop_sign.h"

namespace velmo_run {

// Writes every frame that has been answered, until there are none any more. A failure raises the sign, and the stage is
// closed. Thread: its own.
void WriteFrames(FrameWriter& writer, FrameBelt& belt, StopSign& stop);

}  // namespace velmo_run
