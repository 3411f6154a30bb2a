#pragma once

#include <cstdint>
#include <string>

#include "draw_scenes_tool/picture_size.h"

namespace draw_scenes {

struct SheetOptions {
    std::uint64_t seed = 0;  // of the first scene; each further one's is one higher
    int columns = 5;         // at least 1, and so are the rows
    int rows = 6;
    PictureSize size{256, 144};  // of one scene
    double seconds = 0.0;        // the time that is drawn, see Scene::Draw
    bool masks = true;           // each picture has its mask on its right, in grey: white is a person
    bool clips = false;          // of clips as the demo's instead of scenes of any kind
    bool asSequence = false;     // one scene, a fifth of a second from picture to picture
};

// Many scenes on one picture, to look at, as a PPM file's bytes. Throws std::bad_alloc. Thread: any.
std::string DrawSheet(const SheetOptions& options);

}  // namespace draw_scenes
