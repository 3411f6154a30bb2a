#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "velmo_media/picture.h"
#include "velmo_report/distribution.h"
#include "velmo_report/frame_record.h"
#include "velmo_report/timeline.h"

namespace velmo_report {

enum class RunState { Complete, Interrupted, Failed };

struct InputFacts {
    std::string name;
    velmo_media::Size size;
    std::string pixels;  // such as "C420jpeg"
    std::uint32_t rateNumerator = 0;
    std::uint32_t rateDenominator = 0;
};

// One setting, as a person would name it.
struct Setting {
    std::string name;
    std::string value;
};

struct FrameCounts {
    std::uint64_t written = 0;  // the sum of those below
    std::uint64_t inferred = 0;
    std::uint64_t reused = 0;
    std::uint64_t noMask = 0;
    std::uint64_t lost = 0;
};

// An engine that took over between two frames.
struct Swap {
    std::uint64_t frame = 0;  // so many frames had been answered
    std::string text;
};

// A swap that was asked for.
struct SwapRequest {
    std::uint64_t frame = 0;
    std::string device;
};

struct NoticeLine {
    std::uint64_t frame = 0;  // so many frames had been answered
    double seconds = 0;       // since the run's beginning
    std::string text;
};

// One of the process's own summaries of its frames, in its whole milliseconds.
struct PhaseTimes {
    std::int64_t count = 0;
    std::int64_t min = 0;
    std::int64_t max = 0;
    std::int64_t average = 0;
    std::int64_t p95 = 0;
};
struct ProcessMetrics {
    std::uint64_t frame = 0;
    std::int64_t rounds = 0;
    std::int64_t skipped = 0;
    PhaseTimes preprocess;
    PhaseTimes infer;
    PhaseTimes postprocess;
};

struct MachineFact {
    std::string probe;  // that gave it
    std::string label;
    std::string value;
    std::string meaning;  // empty where the value speaks for itself
};

// One frame of the contact sheet, small and Rgb.
struct SheetFrame {
    std::uint64_t frame = 0;
    FrameOutcome outcome = FrameOutcome::Lost;
    velmo_media::Picture picture;
    velmo_media::Picture mask;
    velmo_media::Picture composite;
};

// All that is told of a run; both the page and the JSON are made of it.
struct RunReport {
    RunState state = RunState::Complete;
    std::string reason;  // why it was not complete
    InputFacts input;
    std::vector<Setting> settings;
    std::vector<Setting> files;  // what was written: what it is, and its name
    std::string device;          // that the process really used in the end

    FrameCounts frames;
    double seconds = 0;          // from the first frame read to the last one written
    double framesPerSecond = 0;  // written
    double bringUpSeconds = 0;   // of the process and its first engine

    Distribution latency;  // milliseconds, all of them
    Distribution waiting;
    Distribution host;
    Distribution wayBack;
    Distribution maskAge;
    Timeline timeline;
    Histogram histogram;  // of the latency

    std::vector<SwapRequest> swapRequests;
    std::vector<Swap> swaps;
    std::vector<NoticeLine> notices;
    std::uint64_t noticesLeftOut = 0;
    std::vector<ProcessMetrics> metrics;
    std::vector<std::string> metricLines;  // as the process logged them
    std::vector<MachineFact> machine;
    std::vector<SheetFrame> sheet;
};

// The word for it in files.
const char* NameOf(RunState state);

}  // namespace velmo_report
