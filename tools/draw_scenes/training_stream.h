#pragma once

#include <cstdint>
#include <string>

#include "draw_scenes_tool/byte_sink.h"
#include "draw_scenes_tool/picture_size.h"
#include "velmo_scenes/frame.h"

namespace draw_scenes {

// Seeds from here up are for testing what was trained; training keeps below.
inline constexpr std::uint64_t kFirstHeldOutSeed = std::uint64_t{1} << 32;

struct TrainingOptions {
    std::uint64_t seed = 0;  // of the first sequence; each further one's is one higher
    std::uint64_t sequences = 1;
    int framesPerSequence = 1;
    PictureSize size{256, 144};
    double stepMs = 100.0;     // between the frames of a sequence
    double stillShare = 0.25;  // of the sequences in which nothing but noise changes
};

inline constexpr int kMetaFloats = 16;

// Adds to `bytes` one frame as the trainer reads it: RGB, mask, and kMetaFloats little-endian floats.
//   still  nothing but noise changed since the frame before
void AppendFrame(const scenes::Frame& frame, bool still, std::string& bytes);

// Draws all sequences into `sink`, one at a time. False when the sink took no more.
bool DrawTrainingStream(const TrainingOptions& options, ByteSink& sink);

}  // namespace draw_scenes
