#pragma once

#include <optional>
#include <string_view>

namespace draw_scenes {

struct PictureSize {
    int width = 0;
    int height = 0;
};

// Reads "256x144". Nothing for any other text, and for a side of 0 or above 4096.
std::optional<PictureSize> ReadPictureSize(std::string_view text);

}  // namespace draw_scenes
