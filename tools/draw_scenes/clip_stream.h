#pragma once

#include <cstdint>

#include "draw_scenes_tool/byte_sink.h"
#include "draw_scenes_tool/picture_size.h"
#include "velmo_scenes/clip.h"

namespace draw_scenes {

struct ClipOptions {
    scenes::ClipSettings clip;
    PictureSize size{640, 360};
    double seconds = 12.0;     // at most scenes::kLatestMoment; rounded to whole frames
    int framesPerSecond = 30;  // at least 1
};

// Draws the clip as a Y4M file into `sink`: the header and the first frame in one piece, then frame by frame. False
// when the sink took no more; what it has then is a file cut short. Throws std::bad_alloc, and what the sink throws.
// Thread: the sink's.
bool DrawClip(const ClipOptions& options, ByteSink& sink);

}  // namespace draw_scenes
