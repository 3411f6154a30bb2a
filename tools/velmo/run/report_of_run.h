#pragma once

#include <string>
#include <vector>

#include "velmo_media/frame_source.h"
#include "velmo_report/run_report.h"
#include "velmo_run/run_journal.h"
#include "velmo_run/run_options.h"
#include "velmo_run/written_frames_log.h"

namespace velmo_run {

// How a run went, beside its frames and its journal.
struct RunOutcome {
    velmo_report::RunState state = velmo_report::RunState::Complete;
    std::string reason;
    std::string device;
    double seconds = 0;
    double bringUpSeconds = 0;
};

// What a run was asked for, as a person would name it. UTF-8.
std::vector<velmo_report::Setting> SettingsOf(const RunOptions& options);

// The report of a run. Asks the machine's probes.
velmo_report::RunReport MakeReport(const RunOptions& options, const velmo_media::VideoFormat& format,
                                   const WrittenFramesLog& frames, const RunJournal& journal,
                                   const RunOutcome& outcome);

// A few lines for a person: frames, latencies, what was written.
std::string Summary(const velmo_report::RunReport& report);

}  // namespace velmo_run
