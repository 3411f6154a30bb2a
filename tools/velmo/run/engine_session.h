#pragma once

#include <functional>
#include <string>

#include "velmo_parent/inference_process.h"
#include "velmo_run/run_journal.h"
#include "velmo_run/run_options.h"

namespace velmo_run {

// What the process is asked for at first.
velmo_parent::EngineRequest RequestOf(const RunOptions& options);

// Starts the process and has it bring up the first engine. `goesOn` is asked several times a second. Throws RunError
// with the reason when there is no engine in the end; the process is stopped then.
void BringUp(velmo_parent::InferenceProcess& process, const RunOptions& options, const RunJournal& journal,
             const std::function<bool()>& goesOn);

}  // namespace velmo_run
