#pragma once

#include <ostream>

#include "velmo_report/run_report.h"
#include "velmo_run/run_options.h"

namespace velmo_run {

// Writes the report, its numbers and the contact sheet where they are asked for (no sheet where there is no frame), and
// tells on `talk` which files of the run there are now. False when one could not be written, which is told.
bool WriteReportFiles(const RunOptions& options, const velmo_report::RunReport& report, std::ostream& talk);

}  // namespace velmo_run
