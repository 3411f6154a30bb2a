#include "processors_beyond_masks.h"

namespace probes {

// Windows divides them into groups of 64 and speaks of this process's own.
bool HasProcessorsBeyondMasks() {
    return false;
}

}  // namespace probes
