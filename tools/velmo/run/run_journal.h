#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "velmo_parent/inference_process.h"

namespace velmo_run {

// Something that was told beside the frames.
struct JournalEntry {
    std::uint64_t frame = 0;  // so many had been answered by then
    double seconds = 0;       // since the journal's beginning
    std::string line;         // of the process's log; "" when it says it otherwise
    velmo_parent::Notice notice;
};

// A swap that was asked for.
struct AskedSwap {
    std::uint64_t frame = 0;
    velmo_parent::Device device = velmo_parent::Device::Auto;
};

// What a process told in its life, and what was asked of it. It keeps as many entries as a day with a failing
// network brings; those beyond are counted. Thread: any.
class RunJournal {
 public:
    RunJournal() : m_begin(std::chrono::steady_clock::now()) {}

    void KeepLine(const velmo_parent::LogLine& line);
    // Behind its line, on the same thread.
    void KeepNotice(std::uint64_t frame, const velmo_parent::Notice& notice);
    void KeepSwap(const AskedSwap& swap);
    // Once so many frames had been answered, masks were older than skipping explains. The first time counts.
    void KeepInferenceFailure(std::uint64_t frame);
    void KeepEnd(const velmo_parent::ProcessEnd& end);
    // Until it is kept. False when the time ran out.
    bool AwaitEnd(std::chrono::milliseconds patience);

    std::vector<JournalEntry> Entries() const;
    std::uint64_t EntriesLeftOut() const;
    std::vector<AskedSwap> Swaps() const;
    std::optional<std::uint64_t> InferenceFailure() const;
    std::optional<velmo_parent::ProcessEnd> End() const;

    // Why there is no engine: the reason of the latest bring-up that failed, or else the latest line of an error; ""
    // when there is none.
    std::string WhyNoEngine() const;

 private:
    static constexpr std::size_t kMostEntries = 2000;

    double Seconds() const;

    const std::chrono::steady_clock::time_point m_begin;
    mutable std::mutex m_mutex;  // guards the rest
    std::condition_variable m_ended;
    std::string m_latestLine;
    std::string m_latestError;
    std::string m_bringUpFailure;
    std::vector<JournalEntry> m_entries;
    std::uint64_t m_leftOut = 0;
    std::vector<AskedSwap> m_swaps;
    std::optional<std::uint64_t> m_inferenceFailure;
    std::optional<velmo_parent::ProcessEnd> m_end;
};

}  // namespace velmo_run
