#include "velmo_parent/skip_guard.h"

namespace velmo_parent {

SkipGuard::Flag SkipGuard::FlagFor(Skipping wanted) const {
    switch (wanted) {
        case Skipping::Allowed:
            return Flag::Set;
        case Skipping::OffEvenIfFrozen:
            return Flag::Clear;
        case Skipping::Off:
            break;
    }
    if (m_inFlight > 0) return Flag::Unknown;
    return m_lastWasInferred ? Flag::Clear : Flag::Set;
}

void SkipGuard::Sent(bool temporal) {
    if (!temporal) return;
    ++m_inFlight;
    m_anySent = true;
}

void SkipGuard::Answered(bool temporal, bool wasInferred) {
    if (temporal) {
        --m_inFlight;
        m_lastWasInferred = wasInferred && !m_isUnsure;
    }
    m_isUnsure = false;
}

void SkipGuard::Lost(bool temporal) {
    m_isUnsure = true;
    if (!temporal) return;
    --m_inFlight;
    m_lastWasInferred = false;
}

void SkipGuard::HelperChanges() {
    if (m_anySent) m_lastWasInferred = false;
}

}  // namespace velmo_parent
