#include "infra/runtime_metrics.h"

#include <locale>
#include <sstream>

namespace infra {

RuntimeMetrics::RuntimeMetrics(std::int64_t periodRounds) : reportRounds(ReportRoundsOrDefault(periodRounds)) {}

void RuntimeMetrics::SetPeriod(std::int64_t periodRounds) {
    reportRounds = ReportRoundsOrDefault(periodRounds);
}

void RuntimeMetrics::RecordPreprocess(std::int64_t durationMs) {
    preprocess.Add(durationMs);
}

void RuntimeMetrics::RecordInfer(std::int64_t durationMs) {
    infer.Add(durationMs);
}

void RuntimeMetrics::RecordPostprocess(std::int64_t durationMs) {
    postprocess.Add(durationMs);
}

void RuntimeMetrics::AddSkip() {
    ++skip;
}

std::string RuntimeMetrics::FinishRound() {
    ++rounds;
    if (rounds < reportRounds) {
        return {};
    }
    std::string summary = Summary();
    Reset();
    return summary;
}

std::string RuntimeMetrics::Summary() {
    std::ostringstream text;
    text.imbue(std::locale::classic());  // no digit grouping, whatever the process's locale
    text << "runtime_metrics: rounds=" << rounds << ", skip=" << skip
         << ", infer_utilization_pct=" << infer.count * 100 / rounds << ", ";
    text << "preprocess_ms";
    preprocess.WriteBlock(text);
    text << ", infer_ms";
    infer.WriteBlock(text);
    text << ", postprocess_ms";
    postprocess.WriteBlock(text);
    return text.str();
}

void RuntimeMetrics::Reset() {
    rounds = 0;
    skip = 0;
    preprocess.Reset();
    infer.Reset();
    postprocess.Reset();
}

}  // namespace infra
