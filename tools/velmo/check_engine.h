#pragma once

#include <cstdint>
#include <ostream>
#include <string>

#include "platform/child_process.h"
#include "velmo_tool/check/check_request.h"
#include "velmo_tool/report_form.h"

namespace velmo_tool {

enum class CheckPlace { ChildProcess, ThisProcess };

struct CheckEngineOptions {
    CheckRequest request;
    ReportForm form = ReportForm::Table;
    CheckPlace place = CheckPlace::ChildProcess;  // in this process for a debugger; a library that crashes ends it
    std::uint32_t timeoutMs = 60'000;             // for all of it, in a child process
    std::string program;                          // this very program, UTF-8, for the child
};

// Looks at an inference library and shows on `out` what holds of that which the process needs. What the library wrote
// to the standard streams of the child goes to `errors`. Returns the program's exit code: 0 when all required points
// hold, 2 when one does not, 1 when nothing could be looked at, with a line on `errors`. Thread: any.
int CheckEngine(const CheckEngineOptions& options, platform::ChildProcesses& children, std::ostream& out,
                std::ostream& errors);

}  // namespace velmo_tool
