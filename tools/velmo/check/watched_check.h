#pragma once

#include <cstdint>
#include <string>

#include "platform/child_process.h"
#include "velmo_tool/check/check_report.h"
#include "velmo_tool/check/check_request.h"

// A library that is looked at because something is wrong with it may well end or hang the process that it is loaded
// into. So that happens in a child, which says before each point what comes next.
namespace velmo_tool {

inline constexpr char kCheckWorkerCommand[] = "check-engine-worker";  // the child's command line

// Runs the checks in a child process of this very program and puts together what it said. A child that ends in the
// middle, or is not done after timeoutMs and is killed then, fails the point that it had begun.
//   program  path of a program that runs RunCheckWorker for kCheckWorkerCommand, UTF-8
//   output   out: what the library wrote to the standard streams
// Throws std::runtime_error when the child can't be started or its report can't be read.
CheckReport CheckInChild(const CheckRequest& request, std::uint32_t timeoutMs, const std::string& program,
                         platform::ChildProcesses& children, std::string& output);

// The child's side: reads the request from the environment, does the checks, writes the report. Returns the exit code:
// 0, or 1 with a line on standard error when it was not started by CheckInChild.
int RunCheckWorker();

}  // namespace velmo_tool
