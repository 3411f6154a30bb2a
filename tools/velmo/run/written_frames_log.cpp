#include "velmo_run/written_frames_log.h"

namespace velmo_run {

void WrittenFramesLog::OnWritten(const FrameSlot& slot, const velmo_media::Picture* mask,
                                 const velmo_media::Picture* composite) {
    const std::lock_guard lock(m_mutex);
    if (m_isClosed) return;
    m_last = std::chrono::steady_clock::now();
    m_records.push_back(slot.record);
    if (mask != nullptr && composite != nullptr) {
        m_sheet.Add(slot.record.index, slot.record.outcome, slot.picture, *mask, *composite);
    }
    ++m_written;
    if (slot.record.outcome == velmo_report::FrameOutcome::Reused) ++m_reused;
}

void WrittenFramesLog::Close() {
    const std::lock_guard lock(m_mutex);
    m_isClosed = true;
}

}  // namespace velmo_run
