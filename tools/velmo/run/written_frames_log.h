#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <vector>

#include "velmo_report/contact_sheet.h"
#include "velmo_run/frame_writer.h"

namespace velmo_run {

// Keeps what the report needs of the frames: 32 bytes of each, and, if asked to, pictures of a few.
// Thread: WantsPictures and OnWritten are one thread's; Written, Reused and Close any; the rest any behind Close.
class WrittenFramesLog final : public WrittenFrames {
 public:
    explicit WrittenFramesLog(bool keepsPictures) : m_keepsPictures(keepsPictures) {}

    bool WantsPictures(std::uint64_t frame) override { return m_keepsPictures && m_sheet.Wants(frame); }
    void OnWritten(const FrameSlot& slot, const velmo_media::Picture* mask,
                   const velmo_media::Picture* composite) override;

    // Frames that are written from now on are not kept: what is here changes no more.
    void Close();

    std::uint64_t Written() const { return m_written; }
    std::uint64_t Reused() const { return m_reused; }

    const std::vector<velmo_report::FrameRecord>& Records() const { return m_records; }
    // When the last one was written; `begin` when none was.
    std::chrono::steady_clock::time_point LastAt(std::chrono::steady_clock::time_point begin) const {
        return m_records.empty() ? begin : m_last;
    }
    std::vector<velmo_report::SheetFrame> Sheet() const { return m_sheet.Pick(); }

 private:
    static constexpr std::size_t kSheetFrames = 8;

    const bool m_keepsPictures;
    std::mutex m_mutex;  // guards what follows until m_isClosed
    bool m_isClosed = false;
    std::chrono::steady_clock::time_point m_last{};
    std::vector<velmo_report::FrameRecord> m_records;
    velmo_report::ContactSheet m_sheet{kSheetFrames};
    std::atomic<std::uint64_t> m_written{0};
    std::atomic<std::uint64_t> m_reused{0};
};

}  // namespace velmo_run
