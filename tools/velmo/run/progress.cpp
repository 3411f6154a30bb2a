#include "velmo_run/progress.h"

#include <algorithm>
#include <string>

#include "velmo_report/number_format.h"

namespace velmo_run {
namespace {

constexpr std::size_t kColumns = 79;

// As wide as there is room beside the text, nothing where that is too little.
std::string Bar(std::uint64_t done, std::uint64_t total, std::size_t room) {
    constexpr std::size_t kFrame = 3;  // "[] "
    constexpr std::size_t kLeast = 5;
    constexpr std::size_t kMost = 30;
    if (room < kFrame + kLeast) return "";
    const std::size_t width = std::min(room - kFrame, kMost);
    const double share =
        static_cast<double>(std::min(done, total)) / static_cast<double>(std::max<std::uint64_t>(1, total));
    const auto filled = std::min(width, static_cast<std::size_t>(share * static_cast<double>(width)));
    return "[" + std::string(filled, '#') + std::string(width - filled, '.') + "] ";
}

}  // namespace

Progress::Progress(std::ostream& out, ProgressForm form, std::optional<std::uint64_t> total, Time begin)
    : m_out(out), m_form(form), m_total(total), m_begin(begin), m_shown(begin), m_updated(begin) {}

void Progress::Update(const ProgressCounts& counts, Time now) {
    constexpr std::chrono::milliseconds kBarPause{100};
    constexpr std::chrono::milliseconds kLinePause{2000};
    m_counts = counts;
    m_updated = now;
    if (now - m_shown < (m_form == ProgressForm::Bar ? kBarPause : kLinePause)) return;
    m_shown = now;
    Show();
}

void Progress::Show() {
    const double seconds = std::chrono::duration<double>(m_updated - m_begin).count();
    const auto written = static_cast<double>(m_counts->written);
    std::string text = std::to_string(m_counts->written);
    if (m_total) text += " of " + std::to_string(*m_total);
    text += " frames";
    // What finds no room is left out.
    const auto add = [&](const std::string& more) {
        if (m_form == ProgressForm::Lines || text.size() + more.size() <= kColumns) text += more;
    };
    if (seconds > 0) add(", " + velmo_report::Fixed(written / seconds, 1) + " per second");
    if (m_counts->written > 0) {
        const double percent = 100.0 * static_cast<double>(m_counts->reused) / written;
        add(", " + velmo_report::Fixed(percent, 0) + " % with an older mask");
    }
    if (m_form == ProgressForm::Lines) {
        m_out << "velmo: " << text << std::endl;
        return;
    }
    if (m_total) text.insert(0, Bar(m_counts->written, *m_total, kColumns - text.size()));
    text.resize(kColumns, ' ');  // covers what was there
    m_out << "\r" << text << std::flush;
}

void Progress::End() {
    if (m_form == ProgressForm::Lines || !m_counts) return;
    Show();
    m_out << "\n" << std::flush;
    m_counts.reset();
}

}  // namespace velmo_run
