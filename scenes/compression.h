#pragma once

#include "velmo_scenes/frame.h"

namespace scenes {

// Leaves the traces of a lossy picture format in `frame.rgb`: coarse steps in the waves of blocks of eight pixels, and
// colours at half the resolution.
//   strength  above 0, to 1 for heavy blocks
void Compress(Frame& frame, float strength);

}  // namespace scenes
