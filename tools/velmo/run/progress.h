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

// Shows it while it goes on. A bar never takes more than 79 columns: a terminal of 80 would break the line after that,
// and each update would leave one behind. Thread: one at a time.
class Progress {
 public:
    using Time = std::chrono::steady_clock::time_point;

    // `total` is how many frames there will be, where that is known.
    Progress(std::ostream& out, ProgressForm form, std::optional<std::uint64_t> total, Time begin);

    // Shows the counts if enough time has passed: ten times a second for a bar, every two seconds for lines.
    void Update(const ProgressCounts& counts, Time now);

    // The counts of the last Update are the final ones: the bar shows them, and what is written next has its own line.
    void End();

 private:
    void Show();

    std::ostream& m_out;
    ProgressForm m_form;
    std::optional<std::uint64_t> m_total;
    Time m_begin;
    Time m_shown;
    std::optional<ProgressCounts> m_counts;  // of the last Update, as the time
    Time m_updated;
};

}  // namespace velmo_run
