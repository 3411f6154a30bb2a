#pragma once

#include <functional>
#include <ostream>

#include "velmo_run/open_media.h"
#include "velmo_run/progress.h"
#include "velmo_run/run_options.h"

namespace velmo_run {

// What a run uses of the program around it.
struct RunSurroundings {
    StandardStreams streams;
    std::ostream& talk;  // progress, the summary, and what went wrong
    ProgressForm progress = ProgressForm::Lines;
    // Called once the input is open, before a process is started: until then an interrupt may end the program as it is.
    std::function<void()> beginWatching = [] {};
    std::function<bool()> interrupted = [] { return false; };  // asked several times a second; any thread
};

// Reads a video, has a process of its own make masks for it, and writes what is asked for. Returns the program's exit
// code: 0; 1 when something went wrong, or was interrupted; 2 when the options can't be right. What went wrong is told
// on `talk`. What was written until then stays.
// A source that never gives another frame and never ends may be read by a thread that goes on behind the return, which
// uses `streams.in`; and after an interrupt an output that takes nothing any more by one that uses `streams.out`: end
// the program then.
int RunVideo(const RunOptions& options, const RunSurroundings& surroundings);

}  // namespace velmo_run
