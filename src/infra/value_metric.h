#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "infra/sample_series.h"

namespace infra {

// The statistics of one named value since the last report. The sum is not guarded against overflow.
// Thread: one at a time; the helper holds its own lock.
struct ValueMetric {
    // Reports every `periodRounds` samples, every 100 when that is below 1.
    explicit ValueMetric(std::int64_t periodRounds);

    void SetPeriod(std::int64_t periodRounds);

    // Adds a sample. Returns the summary under `name` when the period is full, and begins a new one; else the empty
    // text. Throws std::bad_alloc.
    std::string Add(std::string_view name, std::int64_t value);

    std::int64_t reportRounds;
    std::int64_t rounds = 0;  // samples
    std::int64_t sum = 0;
    std::int64_t min = kNoMinimum;
    std::int64_t max = 0;  // never below 0: negative samples don't lower it
    std::vector<std::int64_t> samples;

 private:
    std::string Summary(std::string_view name);
    void Reset();
};

}  // namespace infra
