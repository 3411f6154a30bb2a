#pragma once

#include <cstdint>
#include <string>

#include "infra/sample_series.h"

namespace infra {

// What the rounds of an inference helper cost since the last report, in whole milliseconds per phase.
// Thread: one at a time; the helper holds its own lock.
struct RuntimeMetrics {
    // Reports every `periodRounds` rounds, every 100 when that is below 1.
    explicit RuntimeMetrics(std::int64_t periodRounds);

    void SetPeriod(std::int64_t periodRounds);

    // Add one sample to a phase. Preprocess and postprocess are recorded in every round, infer only in those that ran
    // the network. Throw std::bad_alloc.
    void RecordPreprocess(std::int64_t durationMs);
    void RecordInfer(std::int64_t durationMs);
    void RecordPostprocess(std::int64_t durationMs);

    // Counts a round that did not run the network.
    void AddSkip();

    // Ends a round. Returns the summary when the period is full, and begins a new one; else the empty text.
    // Throws std::bad_alloc.
    std::string FinishRound();

    std::int64_t reportRounds;
    std::int64_t rounds = 0;
    std::int64_t skip = 0;
    SampleSeries preprocess;
    SampleSeries infer;
    SampleSeries postprocess;

 private:
    std::string Summary();
    void Reset();
};

}  // namespace infra
