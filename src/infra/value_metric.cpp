#include "infra/value_metric.h"

#include <algorithm>
#include <locale>
#include <sstream>

namespace infra {

ValueMetric::ValueMetric(std::int64_t periodRounds) : reportRounds(ReportRoundsOrDefault(periodRounds)) {}

void ValueMetric::SetPeriod(std::int64_t periodRounds) {
    reportRounds = ReportRoundsOrDefault(periodRounds);
}

std::string ValueMetric::Add(std::string_view name, std::int64_t value) {
    AppendSample(samples, value);
    ++rounds;
    sum += value;
    min = std::min(min, value);
    max = std::max(max, value);
    if (rounds < reportRounds) {
        return {};
    }
    std::string summary = Summary(name);
    Reset();
    return summary;
}

std::string ValueMetric::Summary(std::string_view name) {
    std::ostringstream text;
    text.imbue(std::locale::classic());  // no digit grouping, whatever the process's locale
    text << name << ": rounds=" << rounds << ", min=" << min << ", max=" << max << ", avg=" << sum / rounds
         << ", p95=" << Percentile95(samples);
    return text.str();
}

void ValueMetric::Reset() {
    rounds = 0;
    sum = 0;
    min = kNoMinimum;
    max = 0;
    samples.clear();
}

}  // namespace infra
