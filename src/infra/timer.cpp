#include "infra/timer.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

#include "infra/system_error.h"

namespace infra {

Timer::Timer(platform::Threads& threads, platform::Clock& clock, TimerWaits& waits)
    : m_threads(threads), m_clock(clock), m_waits(waits) {}

Timer::~Timer() {
    Stop();
}

void Timer::Start(AbstractTimerSink* sink, std::uint32_t periodMs, std::uint32_t count) {
    const std::unique_lock lock(m_mutex);
    if (m_running) {
        Stop();  // always throws, since the lock is held: the caller has to stop first. A run under way is not touched
    }
    m_running = true;
    m_sink = sink;
    std::unique_ptr<platform::Thread> thread = m_threads.Start([this, periodMs, count] { Run(periodMs, count); });
    if (!thread) {
        ThrowSystemError(std::errc::resource_unavailable_try_again);
    }
    if (m_thread) {
        std::terminate();  // a thread that could not be joined may still use this object: there is no way on
    }
    m_thread = std::move(thread);
}

void Timer::Stop() {
    {
        const std::unique_lock lock(m_mutex);
        m_running = false;
        m_sink = nullptr;
    }
    m_waits.WakeOne(m_condition);
    if (!m_thread) {
        return;
    }
    if (m_thread->IsCurrent()) {
        ThrowSystemError(std::errc::resource_deadlock_would_occur);
    }
    if (!m_thread->Join()) {
        ThrowSystemError(std::errc::no_such_process);
    }
    m_thread.reset();
}

void Timer::Run(std::uint32_t periodMs, std::uint32_t count) {
    std::unique_lock lock(m_mutex);
    std::uint32_t ticks = 0;
    while (m_running && (count == 0 || ticks != count)) {
        if (periodMs != 0 && !WaitForTick(lock, periodMs)) {
            continue;
        }
        if (m_sink != nullptr) {
            m_sink->OnTimer(*this);
        }
        ++ticks;
    }
    // m_running stays as it is: a timer whose count is used up is still one that was started.
}

// True when a whole period went by. A wake-up is none, whoever caused it: the next round begins a period anew.
bool Timer::WaitForTick(std::unique_lock<CheckedMutex>& lock, std::uint32_t periodMs) {
    const std::chrono::milliseconds waitMs(std::min(periodMs, kLongestPeriodMs));
    const std::errc outcome = m_waits.WaitUntil(m_condition, lock, m_clock.SystemNow() + waitMs);
    if (outcome != std::errc() && outcome != std::errc::timed_out) {
        ThrowSystemError(outcome);
    }
    return outcome == std::errc::timed_out && periodMs <= kLongestPeriodMs;
}

}  // namespace infra
