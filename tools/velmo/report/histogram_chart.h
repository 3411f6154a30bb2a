#pragma once

#include <string>

#include "velmo_report/html_text.h"
#include "velmo_report/run_report.h"

namespace velmo_report {

// How many frames had which latency, as an SVG element, with lines at p50, p95, p99 and the maximum.
std::string HistogramChart(const RunReport& report, const PageNumbers& numbers);

}  // namespace velmo_report
