#pragma once

#include <string>

namespace draw_scenes {

// Takes what is drawn, piece by piece. Thread: one at a time.
class ByteSink {
 public:
    virtual ~ByteSink() = default;

    // False when nothing more can be taken; the drawing then ends.
    virtual bool Take(const std::string& bytes) = 0;
};

}  // namespace draw_scenes
