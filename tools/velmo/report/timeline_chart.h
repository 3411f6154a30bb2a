#pragma once

#include <string>

#include "velmo_report/html_text.h"
#include "velmo_report/run_report.h"

namespace velmo_report {

// In the drawing where a column reaches beyond its scale.
inline constexpr char kBeyondMark[] = "class=\"beyond\"";

// The latency from the first frame to the last as an SVG element; under it a strip that shows which frames had an older
// mask or none, and lines where engines were asked for and swapped. Classes of the page's style colour it.
std::string TimelineChart(const RunReport& report, const PageNumbers& numbers);

}  // namespace velmo_report
