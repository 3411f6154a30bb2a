#pragma once

#include <cstdint>

#include "network_check_tool/model_run.h"
#include "velmo_scenes/seeds.h"

namespace network_check {

// The held-out scenes that are looked at here. Those before them are left to whoever picks a network while it's
// trained.
inline constexpr std::uint64_t kFirstSeed = scenes::kFirstHeldOutSeed + 1'000'000;
inline constexpr int kFrames = 4;  // of each scene, a tenth of a second apart

// What a network does on scenes that it never saw. Means over all frames; overlaps are 0 to 1, see Overlap().
struct Findings {
    double overlapAlone = 0;      // of mask and truth, with an empty previous mask at each frame
    double overlapFollowing = 0;  // with the network's own mask of the frame before
    double steadyAlone = 0;       // of the masks of neighbouring frames in which only noise differs, likewise
    double steadyFollowing = 0;
    double milliseconds = 0;  // per inference: the median

    // Of the full families; 0 when the network lacks the layers.
    double gesturesRight = 0;  // share of the pictures with somebody in whose gesture is the right one of nine
    double facesFound = 0;     // share of the visible heads whose place has a score above one half
    double facesExtra = 0;     // scores above one half where no head is, per picture
};

// Runs `scenes` moving scenes and half as many still ones through the model. Throws std::runtime_error.
Findings Evaluate(ModelRun& model, int scenes);

}  // namespace network_check
