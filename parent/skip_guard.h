#pragma once

#include <cstdint>

#include "velmo_parent/frame.h"

// Keeps the flag that allows skipping from being cleared at a moment that freezes the mask. The process decides anew
// for each frame with the flag whether it needs the network; a frame without it takes over the last decision. So if the
// last frame with the flag was skipped, every frame without it is skipped too, for good.
//
// Thread: none of its own; the caller serialises.
namespace velmo_parent {

class SkipGuard {
 public:
    enum class Flag {
        Set,
        Clear,
        Unknown,  // what became of the frames with the flag that are on their way decides: try again then
    };

    // The flag for the next frame.
    Flag FlagFor(Skipping wanted) const;

    // Whether a frame without the flag could be frozen, as far as can be told.
    bool MayFreeze() const { return m_inFlight > 0 || !m_lastWasInferred; }

    // A frame went out with this flag; it came back, or was lost.
    void Sent(bool temporal);
    void Answered(bool temporal, bool wasInferred);
    void Lost(bool temporal);

    // Another helper may take over, which has a last decision of its own.
    void HelperChanges();

 private:
    std::int32_t m_inFlight = 0;    // frames with the flag
    bool m_lastWasInferred = true;  // of those with the flag that came back, the last; true before the first
    bool m_anySent = false;
    bool m_isUnsure = false;  // frames were lost: what the next one says of itself is not to be relied on
};

}  // namespace velmo_parent
