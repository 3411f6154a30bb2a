#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "velmo_report/frame_record.h"

namespace velmo_report {

// Some frames in a row. Latencies in milliseconds, 0 when none of the frames has one.
struct TimelineColumn {
    std::uint64_t first = 0;
    std::uint64_t frames = 0;
    std::uint64_t reused = 0;
    std::uint64_t without = 0;  // those without a mask, and those that are lost
    std::uint64_t timed = 0;    // those with a latency
    double min = 0;
    double median = 0;
    double max = 0;
};

// A run from its first to its last frame, in so few columns that they can be drawn.
struct Timeline {
    std::uint64_t framesPerColumn = 1;  // the last one may have fewer
    std::vector<TimelineColumn> columns;
};

Timeline TimelineOf(const std::vector<FrameRecord>& records, std::size_t mostColumns);

}  // namespace velmo_report
