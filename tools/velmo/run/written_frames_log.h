#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include "velmo_report/contact_sheet.h"
#include "velmo_run/frame_writer.h"

namespace velmo_run {

// Keeps what the report needs of the frames: 32 bytes of each, and pictures of a few.
// Thread: OnWritten is one thread's; the rest any once that has ended, and Written and Reused any.
class WrittenFramesLog final : public WrittenFrames {
 public:
    bool WantsPictures(std::uint64_t frame) override { return m_sheet.Wants(frame); }
    void OnWritten(const FrameSlot& slot, const velmo_media::Picture* mask,
                   const velmo_media::Picture* composite) override;

    std::uint64_t Written() const { return m_written; }
    std::uint64_t Reused() const { return m_reused; }

    const std::vector<velmo_report::FrameRecord>& Records() const { return m_records; }
    std::vector<velmo_report::SheetFrame> Sheet() const { return m_sheet.Pick(); }

 private:
    static constexpr std::size_t kSheetFrames = 8;

    std::vector<velmo_report::FrameRecord> m_records;
    velmo_report::ContactSheet m_sheet{kSheetFrames};
    std::atomic<std::uint64_t> m_written{0};
    std::atomic<std::uint64_t> m_reused{0};
};

}  // namespace velmo_run
