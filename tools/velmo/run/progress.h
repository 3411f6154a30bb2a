#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <ostream>

namespace velmo_run {

// How far a run has come.
struct ProgressCounts {
    std::uint64_t written = 0;
    std::uint64_t reused = 0;  // of those, frames with an older mask
};

enum class ProgressForm { Bar /* one line that changes, for a terminal */, Lines };

// Shows it while it goes on. Thread: one at a time.
class Progress {
 public:
    using Time = std::chrono::steady_clock::time_point;

    // `total` is how many frames there will be, where that is known.
    Progress(std::ostream& out, ProgressForm form, std::optional<std::uint64_t> total, Time begin);

    // Shows the counts if enough time has passed: ten times a second for a bar, every two seconds for lines.
    void Update(const ProgressCounts& counts, Time now);

    // The bar is over: what is written next has its own line.
    void End();

 private:
    void Show(const ProgressCounts& counts, Time now);

    std::ostream& m_out;
    ProgressForm m_form;
    std::optional<std::uint64_t> m_total;
    Time m_begin;
    Time m_shown;
    bool m_barIsOpen = false;
};

}  // namespace velmo_run
