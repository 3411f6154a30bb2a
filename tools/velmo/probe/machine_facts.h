#pragma once

#include "platform/machine.h"
#include "velmo_tool/probe/probe_report.h"

namespace velmo_tool {

// Asks every machine probe about `machine`, in the order of their names' subjects: release, processor, memory. Throws
// std::bad_alloc only; what a probe throws is in the report.
ProbeReport ProbeMachine(const platform::Machine& machine);

}  // namespace velmo_tool
