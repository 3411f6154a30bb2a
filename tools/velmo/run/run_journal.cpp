#include "velmo_run/run_journal.h"

#include <variant>

namespace velmo_run {

double RunJournal::Seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_begin).count();
}

void RunJournal::KeepLine(const velmo_parent::LogLine& line) {
    const std::lock_guard lock(m_mutex);
    m_latestLine = line.text;
    if (line.level == 0) m_latestError = line.text;
}

void RunJournal::KeepNotice(std::uint64_t frame, const velmo_parent::Notice& notice) {
    const std::lock_guard lock(m_mutex);
    if (const auto* failed = std::get_if<velmo_parent::BringUpFailed>(&notice)) m_bringUpFailure = failed->reason;
    if (m_entries.size() == kMostEntries) {
        ++m_leftOut;
        return;
    }
    m_entries.push_back({frame, Seconds(), m_latestLine, notice});
}

void RunJournal::KeepSwap(const AskedSwap& swap) {
    const std::lock_guard lock(m_mutex);
    m_swaps.push_back(swap);
}

void RunJournal::KeepInferenceFailure(std::uint64_t frame) {
    const std::lock_guard lock(m_mutex);
    if (!m_inferenceFailure) m_inferenceFailure = frame;
}

void RunJournal::KeepEnd(const velmo_parent::ProcessEnd& end) {
    const std::lock_guard lock(m_mutex);
    m_end = end;
    m_ended.notify_all();
}

bool RunJournal::AwaitEnd(std::chrono::milliseconds patience) {
    std::unique_lock lock(m_mutex);
    return m_ended.wait_for(lock, patience, [this] { return m_end.has_value(); });
}

std::vector<JournalEntry> RunJournal::Entries() const {
    const std::lock_guard lock(m_mutex);
    return m_entries;
}

std::uint64_t RunJournal::EntriesLeftOut() const {
    const std::lock_guard lock(m_mutex);
    return m_leftOut;
}

std::vector<AskedSwap> RunJournal::Swaps() const {
    const std::lock_guard lock(m_mutex);
    return m_swaps;
}

std::optional<std::uint64_t> RunJournal::InferenceFailure() const {
    const std::lock_guard lock(m_mutex);
    return m_inferenceFailure;
}

std::optional<velmo_parent::ProcessEnd> RunJournal::End() const {
    const std::lock_guard lock(m_mutex);
    return m_end;
}

std::string RunJournal::WhyNoEngine() const {
    const std::lock_guard lock(m_mutex);
    return m_bringUpFailure.empty() ? m_latestError : m_bringUpFailure;
}

}  // namespace velmo_run
