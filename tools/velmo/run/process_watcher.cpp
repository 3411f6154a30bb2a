#include "velmo_run/process_watcher.h"

#include <algorithm>

namespace velmo_run {
namespace {

using velmo_report::FrameOutcome;

constexpr std::chrono::seconds kLongestSilence{30};

float Milliseconds(std::chrono::nanoseconds duration) {
    return std::chrono::duration<float, std::milli>(duration).count();
}

FrameOutcome OutcomeOf(const velmo_parent::Result& result, std::size_t maskBytes) {
    if (result.status != 0 || result.mask.size() != maskBytes) return FrameOutcome::NoMask;
    return result.isReused ? FrameOutcome::Reused : FrameOutcome::Inferred;
}

}  // namespace

void ProcessWatcher::OnResult(const velmo_parent::Result& result) {
    FrameSlot& slot = m_belt.Next(Stage::Answer);
    velmo_report::FrameRecord& record = slot.record;
    record.outcome = OutcomeOf(result, m_maskBytes);
    record.latencyMs = Milliseconds(result.latency);
    slot.mask.clear();
    if (record.outcome != FrameOutcome::NoMask) {
        slot.mask.assign(result.mask.begin(), result.mask.end());
        record.maskAgeMs = Milliseconds(result.age);
    }
    if (record.outcome == FrameOutcome::Inferred) {
        record.wayBackMs = std::min(record.maskAgeMs, record.latencyMs);
        record.hostMs = record.latencyMs - record.wayBackMs;
    }
    m_belt.Complete(Stage::Answer);
}

void ProcessWatcher::OnFrameLost(const velmo_parent::LostFrame& /*lost*/) {
    FrameSlot& slot = m_belt.Next(Stage::Answer);
    slot.record.outcome = FrameOutcome::Lost;
    slot.mask.clear();
    m_belt.Complete(Stage::Answer);
}

void ProcessWatcher::OnMasksStale(const velmo_parent::StaleMasks& stale) {
    if (stale.cause == velmo_parent::StaleMasks::Cause::InferenceFails) {
        m_journal.KeepInferenceFailure(m_belt.Completed(Stage::Answer));
    }
}

void ProcessWatcher::OnInit(const velmo_parent::InitAnswer& /*answer*/) {
    m_isUp = true;
}

void ProcessWatcher::OnLogLine(const velmo_parent::LogLine& line) {
    m_journal.KeepLine(line);
}

void ProcessWatcher::OnNotice(const velmo_parent::Notice& notice) {
    m_journal.KeepNotice(m_belt.Completed(Stage::Answer), notice);
}

void ProcessWatcher::OnSilence(const velmo_parent::Silence& silence) {
    // A first engine may take minutes. Later ones are brought up beside the frames, and explain nothing.
    if (!m_isUp || silence.duration < kLongestSilence) return;
    m_stop.Raise("the process has said nothing for " +
                 std::to_string(std::chrono::duration_cast<std::chrono::seconds>(silence.duration).count()) +
                 " seconds");
}

void ProcessWatcher::OnEnded(const velmo_parent::ProcessEnd& end) {
    if (!end.wasAsked) m_stop.Raise(TextOf(end));
    m_journal.KeepEnd(end);
}

void ProcessWatcher::OnDamage(const std::string& what) {
    m_stop.Raise("the process sent what can't be: " + what);
}

std::string TextOf(const velmo_parent::ProcessEnd& end) {
    std::string text = "the process ended with ";
    text += end.signal != 0 ? "signal " + std::to_string(end.signal) : "exit code " + std::to_string(end.code);
    if (end.framesLost > 0) text += ", and " + std::to_string(end.framesLost) + " frames with it";
    if (end.lastLines.empty()) return text;
    text += "; its last words:";
    for (const velmo_parent::LogLine& line : end.lastLines)
        text += "\n    " + line.text;
    return text;
}

}  // namespace velmo_run
