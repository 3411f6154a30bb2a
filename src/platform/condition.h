#pragma once

#include <chrono>
#include <system_error>

#ifndef _WIN32
#include <condition_variable>
#include <mutex>
#endif

namespace platform {

// What a thread waits for under a lock of any type. Unlike the standard library's, which compares clocks afterwards, it
// says by the system's own word whether a wait was woken or ran out.
// Thread: any. Must outlive its waiters.
class Condition {
 public:
    Condition() = default;
    Condition(const Condition&) = delete;
    Condition& operator=(const Condition&) = delete;

    // Lets go of `lock`, which is held, sleeps until a wake-up or `deadline`, and takes the lock again. Returns
    // std::errc() after a wake-up, spurious or not, also when the lock comes back behind the deadline;
    // std::errc::timed_out when the time ran out, never before the deadline; any other code when the system can't wait.
    // No WakeOne is missed that comes after the lock was let go. Passes on what the lock throws.
    // On Windows a clock that is set forth meanwhile does not shorten the wait.
    template <class Lock>
    std::errc WaitUntil(Lock& lock, std::chrono::system_clock::time_point deadline) {
        Enter();
        lock.unlock();
        const std::errc outcome = SleepAndLeave(deadline);
        lock.lock();  // with nothing held: whoever wakes may hold it
        return outcome;
    }

    // Wakes one waiter, if there is any.
    void WakeOne();

 private:
    void Enter();
    std::errc SleepAndLeave(std::chrono::system_clock::time_point deadline);

    // The lock closes the gap between the caller's lock and the sleep; never held longer than a few instructions.
#ifdef _WIN32
    void* m_lock = nullptr;  // null is the first state of both system types, each of which is one pointer
    void* m_condition = nullptr;
#else
    std::mutex m_lock;
    std::condition_variable m_condition;
#endif
};

}  // namespace platform
