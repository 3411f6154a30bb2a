#include "velmo_report/timeline.h"

#include <algorithm>
#include <span>

namespace velmo_report {
namespace {

TimelineColumn ColumnOf(std::span<const FrameRecord> records) {
    TimelineColumn column;
    column.first = records.front().index;
    column.frames = records.size();
    std::vector<float> latencies;
    for (const FrameRecord& record : records) {
        if (record.outcome == FrameOutcome::Reused) ++column.reused;
        if (record.outcome == FrameOutcome::NoMask || record.outcome == FrameOutcome::Lost) ++column.without;
        if (record.latencyMs >= 0) latencies.push_back(record.latencyMs);
    }
    column.timed = latencies.size();
    if (latencies.empty()) return column;
    std::sort(latencies.begin(), latencies.end());
    column.min = latencies.front();
    column.median = latencies[(latencies.size() - 1) / 2];
    column.max = latencies.back();
    return column;
}

}  // namespace

Timeline TimelineOf(const std::vector<FrameRecord>& records, std::size_t mostColumns) {
    Timeline timeline;
    const std::size_t perColumn = std::max<std::size_t>(1, (records.size() + mostColumns - 1) / mostColumns);
    timeline.framesPerColumn = perColumn;
    for (std::size_t at = 0; at < records.size(); at += perColumn) {
        const std::span<const FrameRecord> rest(records.data() + at, std::min(perColumn, records.size() - at));
        timeline.columns.push_back(ColumnOf(rest));
    }
    return timeline;
}

}  // namespace velmo_report
