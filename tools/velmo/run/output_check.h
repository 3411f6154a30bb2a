#pragma once

#include "velmo_run/run_options.h"

namespace velmo_run {

// Looks at what a run is to write, before anything is opened or started. Throws UsageError for what can't be, such as
// two outputs in one place; RunError or velmo_media::MediaError for what the file system has against it.
void CheckOutputs(const RunOptions& options);

}  // namespace velmo_run
