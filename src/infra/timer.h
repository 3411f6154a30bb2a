#pragma once

#include <cstdint>
#include <memory>
#include <mutex>

#include "infra/abstract_timer_sink.h"
#include "infra/checked_mutex.h"
#include "infra/timer_waits.h"
#include "platform/clock.h"
#include "platform/condition.h"
#include "platform/threads.h"

namespace infra {

// Calls a sink at a fixed spacing on a thread of its own. The spacing runs from the end of one call to the begin of the
// next, so a slow sink delays the later ticks and none is made up for. Only a wait that ran out makes a tick: after a
// wake-up, spurious or not and however late in the period, a whole period begins anew.
// Thread: Start, Stop and the destructor on one thread at a time, never within OnTimer.
class Timer {
 public:
    // The longest period that fires, in milliseconds: ten days. A timer with a longer one never calls its sink.
    static constexpr std::uint32_t kLongestPeriodMs = 864'000'000;

    explicit Timer(platform::Threads& threads = platform::SystemThreads(),
                   platform::Clock& clock = platform::SystemClock(), TimerWaits& waits = SystemTimerWaits());
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    // Stops. A failure in that ends the process, and so does a thread that is still attached.
    virtual ~Timer();

    // Begins to call `sink` every `periodMs` milliseconds, `count` times or, with 0, without end. The sink is borrowed
    // until Stop returns; null ticks without calling anything. With a period of 0 the ticks follow each other at once,
    // and Stop waits until the count is used up.
    // A timer that was started has to be stopped before it can start again, also when its count is used up.
    // Throws std::system_error: "device or resource busy" when it was not stopped (a run under way goes on), "resource
    // unavailable try again" when there is no thread to be had; the timer then counts as started until it is stopped.
    void Start(AbstractTimerSink* sink, std::uint32_t periodMs, std::uint32_t count);

    // Ends the calls and the thread; harmless when nothing runs. When it returns the sink is not in use and won't be.
    // Blocks while the sink is at work.
    // Throws std::system_error: "device or resource busy" within OnTimer, "resource deadlock would occur" on the
    // timer's thread outside of it, "no such process" when the thread can't be joined; it then stays attached.
    void Stop();

 private:
    void Run(std::uint32_t periodMs, std::uint32_t count);
    bool WaitForTick(std::unique_lock<CheckedMutex>& lock, std::uint32_t periodMs);

    std::unique_ptr<platform::Thread> m_thread;  // set while a thread is attached, also one that has ended
    CheckedMutex m_mutex;                        // held for the whole run except within the wait
    platform::Condition m_condition;             // only the timer's thread waits here
    bool m_running = false;                      // guarded by m_mutex
    AbstractTimerSink* m_sink = nullptr;         // guarded by m_mutex
    platform::Threads& m_threads;
    platform::Clock& m_clock;
    TimerWaits& m_waits;
};

}  // namespace infra
