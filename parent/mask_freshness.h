#pragma once

#include <cstdint>

// Whether the mask of a result was made for its frame. The stamp of a mask is on the same steady clock as this side's,
// so a mask that was made before its frame was submitted is an old one, used again: because the frame was skipped, or
// refused, or because its inference failed. The process skips 17 frames in a row at most; the 18th is always inferred.
// So one mask that comes 18 times in a row while it is certainly old means that inference has stopped working, or that
// somebody has frozen the mask.
//
// Thread: none of its own; the caller serialises.
namespace velmo_parent {

class MaskFreshness {
 public:
    static constexpr std::int32_t kLongestSkip = 17;

    struct Verdict {
        bool isReused = false;       // two masks that were made in the same millisecond look reused as well
        std::int64_t ageMs = 0;      // of the mask, at `nowMs`; not below 0
        std::int32_t oldInARow = 0;  // results up to this one with this mask, certainly older than their frames
        bool hasGoneStale = false;   // this one is the first beyond what skipping explains
        bool hasRecovered = false;   // the first other one after that
    };

    // The next result that carries a mask. All in milliseconds of the steady clock.
    Verdict See(std::uint64_t stampMs, std::uint64_t submittedMs, std::uint64_t nowMs);

    // Another helper works from now on, which counts its skipped frames by itself: the run begins anew.
    void HelperChanges() { m_oldInARow = 0; }

 private:
    std::uint64_t m_lastStampMs = 0;
    bool m_hasSeenAny = false;
    std::int32_t m_oldInARow = 0;
    bool m_isStale = false;  // told, and no other mask has come since
};

}  // namespace velmo_parent
