#include "velmo_parent/mask_freshness.h"

namespace velmo_parent {

MaskFreshness::Verdict MaskFreshness::See(std::uint64_t stampMs, std::uint64_t submittedMs, std::uint64_t nowMs) {
    Verdict verdict;
    const bool isCertainlyOld = stampMs < submittedMs;
    verdict.isReused = isCertainlyOld || (m_hasSeenAny && stampMs == m_lastStampMs);
    verdict.ageMs = stampMs < nowMs ? static_cast<std::int64_t>(nowMs - stampMs) : 0;
    // A mask that has not been seen ends the run, also one that is old already: its own frame's result may be lost.
    if (m_hasSeenAny && stampMs != m_lastStampMs) {
        verdict.hasRecovered = m_isStale;
        m_isStale = false;
        m_oldInARow = 0;
    }
    // Of the frames that were sent ahead, some may be reused without being certainly old: they neither lengthen the run
    // nor end it.
    if (isCertainlyOld) ++m_oldInARow;
    if (m_oldInARow > kLongestSkip && !m_isStale) {
        verdict.hasGoneStale = true;
        m_isStale = true;
    }
    verdict.oldInARow = m_oldInARow;
    m_lastStampMs = stampMs;
    m_hasSeenAny = true;
    return verdict;
}

}  // namespace velmo_parent
