#pragma once

#include <cstdint>

#include "draw_scenes_tool/byte_sink.h"
#include "draw_scenes_tool/picture_size.h"
#include "velmo_scenes/clip.h"

namespace draw_scenes {

struct ClipOptions {
    scenes::ClipSettings clip;
    PictureSize size{640, 360};
    double seconds = 12.0;
    int framesPerSecond = 30;
};

// Draws the clip as a Y4M file into `sink`. False when the sink took no more.
bool DrawClip(const ClipOptions& options, ByteSink& sink);

}  // namespace draw_scenes
