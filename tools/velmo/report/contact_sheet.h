#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "velmo_media/picture.h"
#include "velmo_report/run_report.h"

namespace velmo_report {

// Keeps pictures of a few frames, evenly from the first to the last, though nobody knows how many there will be: it
// keeps every frame at first, then every second one, and so on. Thread: one at a time.
class ContactSheet {
 public:
    // `most` frames are given in the end; up to twice as many are kept.
    explicit ContactSheet(std::size_t most) : m_most(most) {}

    // Whether the frame has to be added. Frames come in order, from 0.
    bool Wants(std::uint64_t frame) const { return frame % m_stride == 0; }

    // All three have one size. They are kept small, and as Rgb.
    void Add(std::uint64_t frame, FrameOutcome outcome, const velmo_media::Picture& picture,
             const velmo_media::Picture& mask, const velmo_media::Picture& composite);

    std::vector<SheetFrame> Pick() const;

 private:
    std::size_t m_most;
    std::uint64_t m_stride = 1;
    std::vector<SheetFrame> m_frames;
};

// Rgb, at most `mostWidth` wide and `mostHeight` high.
velmo_media::Picture Thumbnail(const velmo_media::Picture& picture, velmo_media::Size most);

}  // namespace velmo_report
