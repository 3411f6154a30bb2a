#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "velmo_parent/log_line.h"

// What the process tells in its log alone, as values. The texts are part of the process's contract and do not change.
namespace velmo_parent {

// The three numbers by which the process names what an engine was made from.
struct EngineChoice {
    std::int32_t device = 0;   // 0 "AUTO", 1 "CPU", 2 "GPU", 3 "NPU": what was asked for, not what is in use
    std::int32_t quality = 0;  // 0 is 256 × 144, 1 is 640 × 360
    std::int32_t family = 0;

    friend bool operator==(const EngineChoice&, const EngineChoice&) = default;
};

// Where an engine is brought up: the first one of a family within Init, every later one on a thread of its own while
// frames go on. A line's text does not say it; InferenceProcess does, by the thread that wrote it.
enum class BringUpPlace { Unknown, WithinInit, Background };

// The bring-up of an engine has begun.
struct BringUpBegan {
    BringUpPlace place = BringUpPlace::Unknown;
    std::string device;  // as asked for
    std::int32_t quality = 0;
};

// The device that was asked for is not there, and another is taken. It is the graphics device alone that falls back.
struct DeviceFellBack {
    std::string missing;  // "GPU"
    std::string taken;    // "CPU"
};

// The bring-up has ended well. A first engine is in use from now on; a later one waits for its swap.
struct BringUpReady {
    BringUpPlace place = BringUpPlace::Unknown;
    std::string engine;  // "OpenVINO"
    std::string networkId;
    std::string device;  // really in use, as the engine itself says: behind "AUTO" that is the one it chose
    std::int64_t durationMs = 0;
};

// The bring-up has ended without an engine. A later one that fails is told nowhere else; the old engine goes on, and
// the same request is not tried again.
struct BringUpFailed {
    BringUpPlace place = BringUpPlace::Unknown;
    std::string reason;  // words for a person
};

// A later engine has taken over between two frames. The first frame on it is always inferred.
struct EngineSwapped {
    EngineChoice from;
    EngineChoice to;
};

// One in thirty of the frames that could not be inferred or did not fit tells of itself.
struct FrameFailed {
    std::string reason;  // words for a person
};

// One phase of the frames of a summary, in whole milliseconds; all 0 when no frame came to it.
struct PhaseSummary {
    std::int64_t count = 0;
    std::int64_t min = 0;
    std::int64_t max = 0;
    std::int64_t average = 0;
    std::int64_t percentile95 = 0;

    friend bool operator==(const PhaseSummary&, const PhaseSummary&) = default;
};

// What so many frames have cost. One every 100 frames, or as the environment variable CALYR_PROFILE_LOG_ROUNDS of the
// process says.
struct RoundsSummary {
    std::int64_t rounds = 0;
    std::int64_t skipped = 0;
    std::int64_t inferredPercent = 0;
    PhaseSummary preprocess;
    PhaseSummary infer;
    PhaseSummary postprocess;

    friend bool operator==(const RoundsSummary&, const RoundsSummary&) = default;
};

// How much so many frames with skipping allowed have changed along the edge of the mask, in thousandths of its pixels;
// 0 for frames where nothing was measured. `count` is the number of frames.
struct ContentChangeSummary {
    PhaseSummary permille;

    friend bool operator==(const ContentChangeSummary&, const ContentChangeSummary&) = default;
};

// Six heartbeats went unanswered: the process ends with -1.
struct HeartBeatsTimedOut {};

using Notice = std::variant<BringUpBegan, DeviceFellBack, BringUpReady, BringUpFailed, EngineSwapped, FrameFailed,
                            RoundsSummary, ContentChangeSummary, HeartBeatsTimedOut>;

// What a line of the process's log says, its text as LogLine::text has it. Nothing for all other lines, and for one
// that was cut at its 1023rd byte before all of it was said. Thread: any.
std::optional<Notice> ParseNotice(std::string_view text);

}  // namespace velmo_parent
