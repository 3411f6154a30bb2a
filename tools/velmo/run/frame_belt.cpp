#include "velmo_run/frame_belt.h"

namespace velmo_run {

FrameBelt::Look FrameBelt::LookAt(Stage stage) const {
    const std::uint64_t done = m_completed[At(stage)];
    if (stage == Stage::Read) {
        // What was read can't be written any more: then nobody needs another frame.
        if (m_closed[At(Stage::Write)]) return Look::Ended;
        return done - m_completed[At(Stage::Write)] < m_slots.size() ? Look::Ready : Look::NotYet;
    }
    if (m_closed[At(stage)]) return Look::Ended;
    if (done < m_completed[At(stage) - 1]) return Look::Ready;
    return m_closed[At(stage) - 1] ? Look::Ended : Look::NotYet;
}

FrameBelt::Look FrameBelt::Await(Stage stage, std::chrono::milliseconds patience) {
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, patience, [&] { return LookAt(stage) != Look::NotYet; });
    return LookAt(stage);
}

FrameSlot& FrameBelt::Next(Stage stage) {
    const std::lock_guard lock(m_mutex);
    return m_slots[static_cast<std::size_t>(m_completed[At(stage)] % m_slots.size())];
}

void FrameBelt::Complete(Stage stage) {
    const std::lock_guard lock(m_mutex);
    ++m_completed[At(stage)];
    m_changed.notify_all();
}

void FrameBelt::Close(Stage stage) {
    const std::lock_guard lock(m_mutex);
    m_closed[At(stage)] = true;
    m_changed.notify_all();
}

bool FrameBelt::AwaitFewerInFlight(std::uint64_t most, std::chrono::milliseconds patience) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, patience,
                              [&] { return m_completed[At(Stage::Submit)] - m_completed[At(Stage::Answer)] < most; });
}

bool FrameBelt::AwaitMore(Stage stage, std::uint64_t completed, std::chrono::milliseconds patience) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, patience, [&] { return m_completed[At(stage)] > completed; });
}

bool FrameBelt::AwaitClosed(Stage stage, std::chrono::milliseconds patience) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, patience, [&] { return m_closed[At(stage)]; });
}

std::uint64_t FrameBelt::Completed(Stage stage) const {
    const std::lock_guard lock(m_mutex);
    return m_completed[At(stage)];
}

}  // namespace velmo_run
