#include "velmo_report/distribution.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>

namespace velmo_report {
namespace {

// `sorted` is not empty.
double Percentile(const std::vector<float>& sorted, double percent) {
    const double rank = std::ceil(percent / 100 * static_cast<double>(sorted.size()));
    const auto at = static_cast<std::size_t>(std::max(1.0, rank)) - 1;
    return sorted[std::min(at, sorted.size() - 1)];
}

// The least of 1, 2, 5, 10, 20, ... times `least` of which fewer than `most` lie whole below `reach`, or end there.
double NiceWidth(double reach, double most, double least) {
    for (double power = least;; power *= 10) {
        for (const double factor : {1.0, 2.0, 5.0}) {
            if (reach / (power * factor) < most) return power * factor;
        }
    }
}

}  // namespace

Distribution DistributionOf(std::vector<float> values) {
    Distribution result;
    if (values.empty()) return result;
    std::sort(values.begin(), values.end());
    result.count = values.size();
    result.min = values.front();
    result.max = values.back();
    result.mean = std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
    result.p50 = Percentile(values, 50);
    result.p95 = Percentile(values, 95);
    result.p99 = Percentile(values, 99);
    return result;
}

Histogram HistogramOf(const std::vector<float>& values) {
    constexpr double kMostBins = 50;
    constexpr double kLeastWidth = 0.01;
    Histogram histogram;
    if (values.empty()) return histogram;
    std::vector<float> sorted = values;
    std::sort(sorted.begin(), sorted.end());
    const double reach = Percentile(sorted, 99.5);
    histogram.binWidth = NiceWidth(reach, kMostBins, kLeastWidth);
    const auto inside = static_cast<std::size_t>(reach / histogram.binWidth) + 1;
    histogram.bins.resize(sorted.back() >= static_cast<double>(inside) * histogram.binWidth ? inside + 1 : inside);
    for (const float value : sorted) {
        const auto bin = static_cast<std::size_t>(value / histogram.binWidth);
        ++histogram.bins[std::min(bin, histogram.bins.size() - 1)];
    }
    return histogram;
}

}  // namespace velmo_report
