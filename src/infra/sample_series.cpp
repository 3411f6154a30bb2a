#include "infra/sample_series.h"

#include <algorithm>
#include <cstddef>
#include <ostream>

namespace infra {

std::int64_t ReportRoundsOrDefault(std::int64_t rounds) {
    return rounds < 1 ? kDefaultReportRounds : rounds;
}

void AppendSample(std::vector<std::int64_t>& samples, std::int64_t value) {
    if (samples.size() == samples.capacity()) {
        // Said here, since standard libraries grow by different factors.
        samples.reserve(std::max(samples.capacity() + samples.capacity() / 2, samples.size() + 1));
    }
    samples.push_back(value);
}

std::int64_t Percentile95(std::vector<std::int64_t>& samples) {
    if (samples.empty()) {
        return 0;
    }
    const std::size_t rank = (samples.size() * 95 + 99) / 100;  // 1-based; at least 1 for one sample or more
    const auto position = samples.begin() + static_cast<std::ptrdiff_t>(rank - 1);
    std::nth_element(samples.begin(), position, samples.end());
    return *position;
}

void SampleSeries::Add(std::int64_t value) {
    AppendSample(samples, value);
    ++count;
    sum += value;
    min = std::min(min, value);
    max = std::max(max, value);
}

void SampleSeries::WriteBlock(std::ostream& text) {
    if (count <= 0) {
        text << "={count=0}";
        return;
    }
    text << "={count=" << count << ", min=" << min << ", max=" << max << ", avg=" << sum / count
         << ", p95=" << Percentile95(samples) << "}";
}

void SampleSeries::Reset() {
    count = 0;
    sum = 0;
    min = kNoMinimum;
    max = 0;
    samples.clear();
}

}  // namespace infra
