#pragma once

#include <cstdint>
#include <vector>

namespace velmo_report {

// What many numbers are like. All 0 when there is none. A percentile is the smallest of the numbers that at least so
// many in a hundred don't exceed.
struct Distribution {
    std::uint64_t count = 0;
    double min = 0;
    double mean = 0;
    double p50 = 0;
    double p95 = 0;
    double p99 = 0;
    double max = 0;
};

Distribution DistributionOf(std::vector<float> values);

// How many of the numbers lie in [i × width, (i + 1) × width), for each i; those beyond all bins are in the last.
struct Histogram {
    double binWidth = 0;  // 1, 2 or 5 times a power of ten
    std::vector<std::uint64_t> bins;
};

// With bins as wide as needed for 50 at most to hold the 99.5th percentile and what is below, and one more for what is
// beyond them, where there is something.
Histogram HistogramOf(const std::vector<float>& values);

}  // namespace velmo_report
