#include "platform/condition.h"

#include <pthread.h>

#include <cerrno>
#include <ctime>

namespace platform {
namespace {

// The standard's condition variable sleeps on the wall clock, which is system_clock's.
timespec MomentOf(std::chrono::system_clock::time_point time) {
    const auto since = time.time_since_epoch();
    const auto seconds = std::chrono::floor<std::chrono::seconds>(since);
    const auto rest = std::chrono::duration_cast<std::chrono::nanoseconds>(since - seconds);
    return {static_cast<time_t>(seconds.count()), static_cast<long>(rest.count())};
}

}  // namespace

void Condition::Enter() {
    m_lock.lock();
}

std::errc Condition::SleepAndLeave(std::chrono::system_clock::time_point deadline) {
    const timespec moment = MomentOf(deadline);
    const int result = ::pthread_cond_timedwait(m_condition.native_handle(), m_lock.native_handle(), &moment);
    m_lock.unlock();
    return result == ETIMEDOUT ? std::errc::timed_out : static_cast<std::errc>(result);
}

void Condition::WakeOne() {
    const std::lock_guard lock(m_lock);
    m_condition.notify_one();
}

}  // namespace platform
