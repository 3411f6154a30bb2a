#include "velmo_parent/mask_freshness.h"

namespace velmo_parent {

MaskFreshness::Verdict MaskFreshness::See(std::uint64_t stampMs, std::uint64_t submittedMs, std::uint64_t nowMs) {
    Verdict verdict;
    const bool isCertainlyOld = stampMs < submittedMs;
    verdict.isReused = isCertainlyOld || (m_hasSeenAny && stampMs == m_lastStampMs);
    verdict.ageMs = stampMs < nowMs ? static_cast<std::int64_t>(nowMs - stampMs) : 0;
    // Of the frames that were sent ahead, some may be reused without being certainly old: they neither lengthen the run
    // nor end it.
    if (isCertainlyOld) {
        ++m_oldInARow;
        verdict.hasGoneStale = m_oldInARow == kLongestSkip + 1;
    } else if (!verdict.isReused) {
        verdict.hasRecovered = m_oldInARow > kLongestSkip;
        m_oldInARow = 0;
    }
    verdict.oldInARow = m_oldInARow;
    m_lastStampMs = stampMs;
    m_hasSeenAny = true;
    return verdict;
}

}  // namespace velmo_parent
