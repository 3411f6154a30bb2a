#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <system_error>

#include "infra/checked_mutex.h"

namespace infra {

// How a timer waits for its next tick, and how it is woken out of it.
class TimerWaits {
 public:
    virtual ~TimerWaits() = default;

    // Lets go of `lock`, waits for a wake-up until `deadline`, and locks again. Returns std::errc() after a wake-up,
    // spurious or not, std::errc::timed_out at the deadline, std::errc::operation_not_permitted when `lock` holds
    // nothing, any other code for a wait that failed. A wake-up in the last 20 ms may count as the time-out, which is
    // then still not reported before the deadline.
    virtual std::errc WaitUntil(std::condition_variable_any& condition, std::unique_lock<CheckedMutex>& lock,
                                std::chrono::system_clock::time_point deadline) = 0;

    // Wakes one waiter of `condition`.
    virtual void WakeOne(std::condition_variable_any& condition) = 0;
};

// The ones of the condition variable itself.
TimerWaits& SystemTimerWaits();

}  // namespace infra
