#pragma once

#include <chrono>
#include <cstdint>

namespace platform {

// The machine's clocks. Thread: any.
class Clock {
 public:
    virtual ~Clock() = default;

    // The steady performance counter, in ticks from an unspecified start, the same one for all processes.
    virtual std::int64_t Counter() = 0;

    // Ticks per second of Counter; fixed while the machine runs, above 0.
    virtual std::int64_t Frequency() = 0;

    // Wall-clock time, which can be set back or forth.
    virtual std::chrono::system_clock::time_point SystemNow() = 0;
};

// The operating system's own.
Clock& SystemClock();

}  // namespace platform
