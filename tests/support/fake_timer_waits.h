#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <system_error>
#include <utility>
#include <vector>

#include "infra/timer_waits.h"
#include "platform/condition.h"

namespace support {

// Waits that end at once, as a script says. Thread: one at a time.
class FakeTimerWaits final : public infra::TimerWaits {
 public:
    // The next waits end with these outcomes; behind them `whenUsedUp` is called in each further wait, with the lock
    // let go, and the wait then ends as one that was woken. It has to see to it that the timer stops.
    void Script(std::vector<std::errc> outcomes, std::function<void()> whenUsedUp) {
        m_outcomes = std::move(outcomes);
        m_whenUsedUp = std::move(whenUsedUp);
    }

    // Called in each wait before it ends, scripted ones too: what happens meanwhile.
    void Meanwhile(std::function<void()> happens) { m_meanwhile = std::move(happens); }

    const std::vector<std::chrono::system_clock::time_point>& Deadlines() const { return m_deadlines; }
    std::int32_t WakeCount() const { return m_wakeCount; }

    std::errc WaitUntil(platform::Condition& /*condition*/, std::unique_lock<infra::CheckedMutex>& lock,
                        std::chrono::system_clock::time_point deadline) override {
        m_deadlines.push_back(deadline);
        m_meanwhile();
        if (m_next < m_outcomes.size()) {
            return m_outcomes[m_next++];
        }
        lock.unlock();
        m_whenUsedUp();
        lock.lock();
        return std::errc();
    }

    void WakeOne(platform::Condition& /*condition*/) override { ++m_wakeCount; }

 private:
    std::vector<std::errc> m_outcomes;
    std::size_t m_next = 0;
    std::function<void()> m_whenUsedUp = [] {};
    std::function<void()> m_meanwhile = [] {};
    std::vector<std::chrono::system_clock::time_point> m_deadlines;
    std::int32_t m_wakeCount = 0;
};

}  // namespace support
