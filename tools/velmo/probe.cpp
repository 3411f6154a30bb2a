#include "velmo_tool/probe.h"

#include "velmo_tool/probe/machine_facts.h"
#include "velmo_tool/probe/probe_report.h"

namespace velmo_tool {

int Probe(ReportForm form, const platform::Machine& machine, std::ostream& out) {
    const ProbeReport report = ProbeMachine(machine);
    if (form == ReportForm::Json) {
        PrintJson(report, out);
    } else {
        PrintTable(report, out);
    }
    return 0;
}

}  // namespace velmo_tool
