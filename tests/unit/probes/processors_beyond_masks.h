#pragma once

namespace probes {

// Whether this machine has logical processors that a mask of 64 bits has no bit for, and the system numbers them so.
bool HasProcessorsBeyondMasks();

}  // namespace probes
