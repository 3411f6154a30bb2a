#pragma once

#include <ostream>
#include <string>

#include "velmo_report/frame_record.h"

namespace velmo_report {

// One row per frame, under a row with the columns' names: frame, outcome, mask_age_ms, waiting_ms, host_ms,
// way_back_ms, latency_ms. What can't be told is empty. Thread: one at a time.
class CsvWriter {
 public:
    // `stream` outlives this; `name` is what errors call it.
    CsvWriter(std::ostream& stream, std::string name);

    // Throws velmo_media::MediaError when it can't be written.
    void Write(const FrameRecord& record);

 private:
    std::ostream& m_stream;
    std::string m_name;
    std::string m_row;
};

}  // namespace velmo_report
