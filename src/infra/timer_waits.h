#pragma once

#include <chrono>
#include <mutex>
#include <system_error>

#include "infra/checked_mutex.h"
#include "platform/condition.h"

namespace infra {

// How a timer waits for its next tick, and how it is woken out of it.
class TimerWaits {
 public:
    virtual ~TimerWaits() = default;

    // Lets go of `lock`, waits for a wake-up until `deadline`, and locks again. Returns std::errc() after a wake-up,
    // spurious or not and however close to the deadline, std::errc::timed_out when the time ran out and never before
    // the deadline, std::errc::operation_not_permitted when `lock` holds nothing, any other code for a wait that
    // failed.
    virtual std::errc WaitUntil(platform::Condition& condition, std::unique_lock<CheckedMutex>& lock,
                                std::chrono::system_clock::time_point deadline) = 0;

    // Wakes one waiter of `condition`.
    virtual void WakeOne(platform::Condition& condition) = 0;
};

// The ones of the condition itself.
TimerWaits& SystemTimerWaits();

}  // namespace infra
