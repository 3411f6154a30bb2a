#pragma once

#include <cstdint>
#include <optional>

#include "velmo_media/frame_source.h"
#include "velmo_media/model_fit.h"
#include "velmo_run/frame_belt.h"
#include "velmo_run/stop_sign.h"

namespace velmo_run {

// Reads frames, and makes the model's planes of them, until the source ends, `most` are read or the sign is up. The
// stage is closed in the end. A source that fails raises the sign; frames that were read before it are still good.
// Thread: its own.
void ReadFrames(velmo_media::FrameSource& source, velmo_media::ModelFit& fit, velmo_media::Size model,
                std::optional<std::uint64_t> most, FrameBelt& belt, StopSign& sourceFailed, const StopSign& stop);

}  // namespace velmo_run
