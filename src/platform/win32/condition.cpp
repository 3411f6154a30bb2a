#include "platform/condition.h"

#include <windows.h>

#include <algorithm>

namespace platform {
namespace {

static_assert(sizeof(SRWLOCK) == sizeof(void*) && alignof(SRWLOCK) == alignof(void*));
static_assert(sizeof(CONDITION_VARIABLE) == sizeof(void*) && alignof(CONDITION_VARIABLE) == alignof(void*));

// The system's types are records of this one pointer.
SRWLOCK* AsSystemLock(void*& lock) {
    return reinterpret_cast<SRWLOCK*>(&lock);
}
CONDITION_VARIABLE* AsSystemCondition(void*& condition) {
    return reinterpret_cast<CONDITION_VARIABLE*>(&condition);
}

// Rounded up, so that a sleep is not a string of short ones at its end.
std::chrono::milliseconds TimeUntil(std::chrono::system_clock::time_point deadline) {
    return std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::system_clock::now());
}

}  // namespace

void Condition::Enter() {
    ::AcquireSRWLockExclusive(AsSystemLock(m_lock));
}

std::errc Condition::SleepAndLeave(std::chrono::system_clock::time_point deadline) {
    constexpr std::chrono::milliseconds kLongestSleep = std::chrono::hours(24 * 30);  // fits the system's 32 bits
    std::errc outcome = std::errc::timed_out;
    // The system's sleeps can end a tick of its clock (15.6 ms) early, and then still have timed out: only they are
    // continued, a wake-up never is.
    for (std::chrono::milliseconds left = TimeUntil(deadline);; left = TimeUntil(deadline)) {
        const auto sleep = std::clamp(left, std::chrono::milliseconds(0), kLongestSleep);
        if (::SleepConditionVariableSRW(AsSystemCondition(m_condition), AsSystemLock(m_lock),
                                        static_cast<DWORD>(sleep.count()), 0) != 0) {
            outcome = std::errc();
            break;
        }
        if (::GetLastError() != ERROR_TIMEOUT) {
            outcome = std::errc::invalid_argument;
            break;
        }
        if (std::chrono::system_clock::now() >= deadline) break;
    }
    ::ReleaseSRWLockExclusive(AsSystemLock(m_lock));
    return outcome;
}

void Condition::WakeOne() {
    ::AcquireSRWLockExclusive(AsSystemLock(m_lock));
    ::WakeConditionVariable(AsSystemCondition(m_condition));
    ::ReleaseSRWLockExclusive(AsSystemLock(m_lock));
}

}  // namespace platform
