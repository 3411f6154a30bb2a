#include "velmo_run/written_frames_log.h"

namespace velmo_run {

void WrittenFramesLog::OnWritten(const FrameSlot& slot, const velmo_media::Picture* mask,
                                 const velmo_media::Picture* composite) {
    m_records.push_back(slot.record);
    if (mask != nullptr && composite != nullptr) {
        m_sheet.Add(slot.record.index, slot.record.outcome, slot.picture, *mask, *composite);
    }
    ++m_written;
    if (slot.record.outcome == velmo_report::FrameOutcome::Reused) ++m_reused;
}

}  // namespace velmo_run
