#include "velmo_run/progress.h"

#include <algorithm>
#include <string>

#include "velmo_report/number_format.h"

namespace velmo_run {
namespace {

std::string Bar(std::uint64_t done, std::uint64_t total) {
    constexpr std::size_t kWidth = 30;
    const auto filled = static_cast<std::size_t>(std::min(done, total) * kWidth / std::max<std::uint64_t>(1, total));
    return "[" + std::string(filled, '#') + std::string(kWidth - filled, '.') + "] ";
}

}  // namespace

Progress::Progress(std::ostream& out, ProgressForm form, std::optional<std::uint64_t> total, Time begin)
    : m_out(out), m_form(form), m_total(total), m_begin(begin), m_shown(begin) {}

void Progress::Update(const ProgressCounts& counts, Time now) {
    constexpr std::chrono::milliseconds kBarPause{100};
    constexpr std::chrono::milliseconds kLinePause{2000};
    if (now - m_shown < (m_form == ProgressForm::Bar ? kBarPause : kLinePause)) return;
    m_shown = now;
    Show(counts, now);
}

void Progress::Show(const ProgressCounts& counts, Time now) {
    const double seconds = std::chrono::duration<double>(now - m_begin).count();
    std::string text;
    if (m_form == ProgressForm::Bar && m_total) text += Bar(counts.written, *m_total);
    text += std::to_string(counts.written);
    if (m_total) text += " of " + std::to_string(*m_total);
    text += " frames";
    if (seconds > 0)
        text += ", " + velmo_report::Fixed(static_cast<double>(counts.written) / seconds, 1) + " per second";
    if (counts.written > 0) {
        const double percent = 100.0 * static_cast<double>(counts.reused) / static_cast<double>(counts.written);
        text += ", " + velmo_report::Fixed(percent, 0) + " % with an older mask";
    }
    if (m_form == ProgressForm::Bar) {
        constexpr std::size_t kWidth = 90;  // wide enough to cover what was there
        text.resize(std::max(text.size(), kWidth), ' ');
        m_out << "\r" << text << std::flush;
        m_barIsOpen = true;
    } else {
        m_out << "velmo: " << text << std::endl;
    }
}

void Progress::End() {
    if (m_barIsOpen) m_out << "\n" << std::flush;
    m_barIsOpen = false;
}

}  // namespace velmo_run
