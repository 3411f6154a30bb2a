#pragma once

#include <cstdint>
#include <iosfwd>
#include <limits>
#include <vector>

namespace infra {

// What the smallest sample is before there is one.
inline constexpr std::int64_t kNoMinimum = std::numeric_limits<std::int64_t>::max();

// The period of reports where none above 0 is asked for.
inline constexpr std::int64_t kDefaultReportRounds = 100;

// `rounds`, or 100 when it is below 1.
std::int64_t ReportRoundsOrDefault(std::int64_t rounds);

// Appends `value`. A full array grows to the larger of one and a half times its capacity and the size needed.
// Throws std::bad_alloc.
void AppendSample(std::vector<std::int64_t>& samples, std::int64_t value);

// The sample that 95 of 100 do not exceed, by the nearest-rank rule; 0 when there is none. Reorders the samples; takes
// time linear in their number.
std::int64_t Percentile95(std::vector<std::int64_t>& samples);

// The statistics of one kind of sample since the last report. The sum is not guarded against overflow: milliseconds
// can't reach it. Thread: one at a time.
struct SampleSeries {
    // Adds one sample. Allocates only when the array grows. Throws std::bad_alloc.
    void Add(std::int64_t value);

    // Writes "={count=0}", or count, least, greatest, mean (truncated) and 95th percentile in the same braces.
    // Reorders the samples.
    void WriteBlock(std::ostream& text);

    // Forgets all samples; the array keeps its capacity.
    void Reset();

    std::int64_t count = 0;
    std::int64_t sum = 0;
    std::int64_t min = kNoMinimum;
    std::int64_t max = 0;  // never below 0: negative samples don't lower it
    std::vector<std::int64_t> samples;
};

}  // namespace infra
