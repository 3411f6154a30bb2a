#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "velmo_media/picture.h"
#include "velmo_report/run_report.h"

namespace velmo_report {

// Keeps pictures of a few frames from all over a run, though nobody knows how long that will be: it keeps every frame
// at first, then every second one, every fourth, and so on. What is given in the end begins with the first frame, and
// its distances differ by no more than the one between frames that were kept; the last one is the run's last frame, or
// no farther from that than this distance. In a run of n frames that is 1, or at most (n - 1) / (2 * most). Thread: one
// at a time.
class ContactSheet {
 public:
    // `most` frames are given in the end, above 1; up to four times as many are kept.
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

// Rgb, of the picture's shape, and no side larger than the picture's or that of `most`.
velmo_media::Picture Thumbnail(const velmo_media::Picture& picture, velmo_media::Size most);

}  // namespace velmo_report
