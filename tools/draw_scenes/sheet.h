#pragma once

#include <cstdint>
#include <string>

#include "draw_scenes_tool/picture_size.h"

namespace draw_scenes {

struct SheetOptions {
    std::uint64_t seed = 0;
    int columns = 5;
    int rows = 6;
    PictureSize size{256, 144};
    double seconds = 0.0;
    bool masks = true;        // tints what is foreground in a second picture beside each
    bool clips = false;       // of clips as the demo's instead of scenes of any kind
    bool asSequence = false;  // one scene, a fifth of a second from picture to picture
};

// Many scenes on one picture, to look at, as a PPM file's bytes.
std::string DrawSheet(const SheetOptions& options);

}  // namespace draw_scenes
