#pragma once

#include <cstdint>
#include <string>

#include "draw_scenes_tool/byte_sink.h"
#include "draw_scenes_tool/picture_size.h"
#include "velmo_scenes/frame.h"

namespace draw_scenes {

enum class WhichScenes {
    Training,  // seeds below scenes::kFirstHeldOutSeed
    HeldOut,   // those from there up
};

struct TrainingOptions {
    WhichScenes scenes = WhichScenes::Training;
    std::uint64_t seed = 0;  // of the first sequence, counted from the first one of its kind; each further one's is one
                             // higher
    std::uint64_t sequences = 1;
    int framesPerSequence = 1;  // at least 1
    PictureSize size{256, 144};
    double stepMs = 100.0;     // between the frames of a sequence
    double stillShare = 0.25;  // of the sequences in which nothing but noise changes
};

inline constexpr int kMetaFloats = 16;

// Adds to `bytes` one frame as the trainer reads it: RGB, mask, and kMetaFloats little-endian floats.
//   still  nothing but noise changed since the frame before
void AppendFrame(const scenes::Frame& frame, bool still, std::string& bytes);

// Why these can't be drawn, as a sentence without its full stop: their seeds leave their kind, or the latest moment is
// later than a scene has. "" when they can be.
std::string WhyNot(const TrainingOptions& options);

// Draws all sequences into `sink`, each in one piece. False when the sink took no more; what it has then is whole
// sequences. The options are such that WhyNot() is "". Throws std::bad_alloc, and what the sink throws. Thread: the
// sink's.
bool DrawTrainingStream(const TrainingOptions& options, ByteSink& sink);

}  // namespace draw_scenes
