#pragma once

#include <atomic>

namespace rvo_calyr {

// Lets the first of every 30 occurrences through: the 1st, 31st, 61st and so on. Thread: any.
class EveryThirtieth {
 public:
    bool IsDue() {
        // Counts 1 to 30 and begins again at 1.
        int count = m_count.load(std::memory_order_relaxed);
        int next = 0;
        do {
            next = count + 1 > kPeriod ? count + 1 - kPeriod : count + 1;
        } while (!m_count.compare_exchange_weak(count, next, std::memory_order_relaxed));  // only the count matters
        return next == 1;
    }

 private:
    static constexpr int kPeriod = 30;
    std::atomic<int> m_count{0};
};

// Lets the first occurrence through and no other. Thread: any.
class Once {
 public:
    bool IsDue() {
        return !m_done.load(std::memory_order_relaxed) && !m_done.exchange(true, std::memory_order_relaxed);
    }

 private:
    std::atomic<bool> m_done{false};
};

// How often the messages about frames may be logged. One object for all helpers of the process, never set back: a
// helper that fails at 30 frames a second must not fill the parent's log.
struct ProcessLimits {
    EveryThirtieth nullArguments;
    EveryThirtieth invalidArguments;
    EveryThirtieth notInitialised;
    EveryThirtieth noEngine;
    EveryThirtieth failure;
    Once firstInference;

    Once noMask;
    Once otherMaskSize;
    Once otherMaskLength;
    Once noLandmarks;
    Once otherLandmarksDims;
    Once otherLandmarksSize;
    Once noMotion;
    Once noGesture;
    Once otherGestureSize;
    Once noLut;
    Once otherLutDims;
    Once otherLutSize;
    Once otherLutVerticesSize;
};

// The process's own.
ProcessLimits& TheProcessLimits();

}  // namespace rvo_calyr
