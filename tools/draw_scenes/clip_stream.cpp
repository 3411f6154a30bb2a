#include "draw_scenes_tool/clip_stream.h"

#include "draw_scenes_tool/y4m.h"
#include "velmo_scenes/scene.h"

namespace draw_scenes {

bool DrawClip(const ClipOptions& options, ByteSink& sink) {
    scenes::Scene scene(scenes::StageClip(options.clip));
    scenes::Frame frame;
    std::string bytes = Y4mHeader(options.size, options.framesPerSecond);
    const auto frames = static_cast<std::int64_t>(options.seconds * options.framesPerSecond + 0.5);
    for (std::int64_t i = 0; i < frames; ++i) {
        scene.Draw(static_cast<double>(i) / options.framesPerSecond, options.size.width, options.size.height, frame);
        AppendY4mFrame(frame, bytes);
        if (!sink.Take(bytes)) return false;
        bytes.clear();
    }
    return frames > 0 || sink.Take(bytes);
}

}  // namespace draw_scenes
