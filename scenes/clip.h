#pragma once

#include <cstdint>

#include "velmo_scenes/staging.h"

namespace scenes {

// The one that the demo shows.
inline constexpr std::uint64_t kDemoClip = 41;

struct ClipSettings {
    std::uint64_t seed = kDemoClip;
    bool cameraNoise = false;  // light noise; without it frames are equal to the byte while everybody pauses
};

// For a Scene that is pleasant to look at: two people before a room, in good light and through a good camera, who talk,
// wave and lean, and stand entirely still for more than a second about every four. Thread: any.
Staging StageClip(const ClipSettings& settings = {});

}  // namespace scenes
