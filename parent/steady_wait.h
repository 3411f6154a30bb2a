#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace velmo_parent {

// Waits under `lock` until `condition` holds. False when it does not by the deadline. The condition variable is given
// short spans of the wall clock, so that a clock that is set back stretches the wait by no more than one of them: its
// waits on the steady clock are none that a thread sanitizer knows.
template <class Condition>
bool WaitUntil(std::condition_variable& changed, std::unique_lock<std::mutex>& lock,
               std::chrono::steady_clock::time_point deadline, Condition condition) {
    constexpr std::chrono::milliseconds kSpan{200};
    while (!condition()) {
        const auto left = deadline - std::chrono::steady_clock::now();
        if (left <= std::chrono::steady_clock::duration::zero()) return false;
        const auto span = std::min(std::chrono::ceil<std::chrono::milliseconds>(left), kSpan);
        (void)changed.wait_until(lock, std::chrono::system_clock::now() + span);
    }
    return true;
}

// So long from now; far ahead for a span that is too long to reckon with.
inline std::chrono::steady_clock::time_point DeadlineIn(std::chrono::milliseconds span) {
    constexpr std::chrono::milliseconds kLongest = std::chrono::hours(24 * 365);
    return std::chrono::steady_clock::now() + std::min(span, kLongest);
}

}  // namespace velmo_parent
