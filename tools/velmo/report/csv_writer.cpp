#include "velmo_report/csv_writer.h"

#include <cerrno>
#include <utility>

#include "velmo_media/media_error.h"
#include "velmo_media/stream_error.h"
#include "velmo_report/number_format.h"

namespace velmo_report {

CsvWriter::CsvWriter(std::ostream& stream, std::string name) : m_stream(stream), m_name(std::move(name)) {
    m_stream << "frame,outcome,mask_age_ms,waiting_ms,host_ms,way_back_ms,latency_ms\n";
}

void CsvWriter::Write(const FrameRecord& record) {
    constexpr int kDecimals = 3;
    m_row = std::to_string(record.index);
    m_row += ',';
    m_row += NameOf(record.outcome);
    for (const float ms : {record.maskAgeMs, record.waitingMs, record.hostMs, record.wayBackMs, record.latencyMs}) {
        m_row += ',';
        if (ms >= 0) m_row += Fixed(ms, kDecimals);
    }
    m_row += '\n';
    errno = 0;
    if (!m_stream.write(m_row.data(), static_cast<std::streamsize>(m_row.size()))) {
        throw velmo_media::MediaError(velmo_media::WriteFailure(m_name));
    }
}

}  // namespace velmo_report
