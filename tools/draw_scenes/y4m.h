#pragma once

#include <string>

#include "draw_scenes_tool/picture_size.h"
#include "velmo_scenes/frame.h"

namespace draw_scenes {

// What a Y4M file begins with: progressive frames, square pixels, brightness at every pixel and colours at every second
// one of every second row, in the middle between its four (C420jpeg). `framesPerSecond` is at least 1.
std::string Y4mHeader(PictureSize size, int framesPerSecond);

// Adds one frame: BT.601 in limited range, so black is 16, white 235 and no colour 128. What hangs over at an odd width
// or height takes its colour from the pixels that are there.
void AppendY4mFrame(const scenes::Frame& frame, std::string& bytes);

}  // namespace draw_scenes
