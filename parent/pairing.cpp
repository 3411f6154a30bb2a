#include "velmo_parent/pairing.h"

#include <algorithm>

namespace velmo_parent {
namespace {

constexpr std::int64_t kNsPerMs = 1'000'000;

}  // namespace

void Pairing::Submit(const PendingFrame& frame) {
    At(m_count) = {frame, false};
    ++m_count;
    ++m_submitted;
}

std::optional<PendingFrame> Pairing::TakeFirst() {
    if (m_count == 0) return std::nullopt;
    const PendingFrame frame = At(0).frame;
    m_first = (m_first + 1) % kMostInFlight;
    --m_count;
    return frame;
}

std::optional<PendingFrame> Pairing::Answer() {
    ++m_results;
    if (m_discarding && m_results > m_lastPaired) return std::nullopt;
    return TakeFirst();
}

std::optional<PendingFrame> Pairing::TakeLost() {
    if (m_count == 0 || !At(0).isLost) return std::nullopt;
    return TakeFirst();
}

std::optional<PendingFrame> Pairing::TakeAny() {
    return TakeFirst();
}

void Pairing::GiveUp(std::uint64_t behind, std::uint64_t last) {
    const std::uint64_t first = m_submitted - m_count + 1;  // the number of the oldest entry
    for (std::size_t position = 0; position < m_count; ++position) {
        const std::uint64_t number = first + position;
        if (number > behind && number <= last) At(position).isLost = true;
    }
}

// Whether a frame has not been out for long enough to have been dropped.
bool Pairing::IsYoung(std::uint64_t number, std::int64_t nowNs) {
    const std::uint64_t first = m_submitted - m_count + 1;
    if (number < first || number > m_submitted) return false;
    return nowNs - At(static_cast<std::size_t>(number - first)).frame.submittedNs < kSafePauseMs * kNsPerMs;
}

void Pairing::SlotsGiven(std::uint64_t slots, std::int64_t pauseMs, const SendProgress& progress,
                         std::int64_t progressNs, std::int64_t nowNs) {
    if (m_discarding || pauseMs < kSafePauseMs) return;
    // Frames up to this number had a slot for their result, or are known to have gone without.
    const std::uint64_t accounted = slots + m_withoutResult;
    if (m_submitted <= accounted || IsYoung(accounted + 1, nowNs)) return;
    if (nowNs - progressNs < kSafePauseMs * kNsPerMs) {
        // The frame that got the last slot is still in the process's hands, so none behind it was begun.
        const std::uint64_t finished = progress.sent - static_cast<std::uint64_t>(progress.unfinished);
        if (progress.sent <= accounted || finished < accounted) return;
        if (progress.unfinished == 0) {
            GiveUp(accounted, progress.sent);
            m_withoutResult += progress.sent - accounted;
            return;
        }
    }
    GiveUp(accounted, m_submitted);
    m_discarding = true;
    m_wasQuiet = false;  // what was seen at the beginning of this look was before
    m_lastPaired = slots;
}

void Pairing::AfterLook() {
    if (!m_discarding || !m_wasQuiet) return;
    // Everything has been worked on, and every result that there was has come.
    m_withoutResult = m_submitted - std::min(m_submitted, m_results);
    m_discarding = false;
}

}  // namespace velmo_parent
