#pragma once

#include <ostream>

#include "platform/machine.h"
#include "velmo_tool/report_form.h"

namespace velmo_tool {

// Asks every machine probe and shows what they say on `out`. What one of them throws stands in the place of its values.
// Returns the program's exit code, which is always 0. Thread: one at a time in a process, since counting cores may move
// it between processors.
int Probe(ReportForm form, const platform::Machine& machine, std::ostream& out);

}  // namespace velmo_tool
