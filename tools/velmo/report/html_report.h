#pragma once

#include <string>

#include "velmo_report/run_report.h"

namespace velmo_report {

// The report as one page that needs no other file. Each of its numbers is that of JsonOf(report), and says by its
// attributes data-json (a JSON pointer) and data-decimals which one; where a shape shows it, data-value has it.
std::string HtmlReport(const RunReport& report);

}  // namespace velmo_report
