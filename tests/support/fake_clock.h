#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>

#include "platform/clock.h"

namespace support {

// Clocks that stand still until they are moved. Thread: any.
class FakeClock final : public platform::Clock {
 public:
    void SetCounter(std::int64_t counter) {
        const std::lock_guard lock(m_mutex);
        m_counter = counter;
    }

    void SetFrequency(std::int64_t frequency) {
        const std::lock_guard lock(m_mutex);
        m_frequency = frequency;
    }

    void SetSystemNow(std::chrono::system_clock::time_point now) {
        const std::lock_guard lock(m_mutex);
        m_systemNow = now;
    }

    // Moves the wall clock and the counter by the same time; ticks of the counter are truncated.
    void Advance(std::chrono::milliseconds duration) {
        const std::lock_guard lock(m_mutex);
        m_counter += duration.count() * m_frequency / 1000;
        m_systemNow += duration;
    }

    std::int64_t Counter() override {
        const std::lock_guard lock(m_mutex);
        return m_counter;
    }

    std::int64_t Frequency() override {
        const std::lock_guard lock(m_mutex);
        return m_frequency;
    }

    std::chrono::system_clock::time_point SystemNow() override {
        const std::lock_guard lock(m_mutex);
        return m_systemNow;
    }

 private:
    std::mutex m_mutex;
    std::int64_t m_counter = 0;
    std::int64_t m_frequency = 10'000'000;
    std::chrono::system_clock::time_point m_systemNow{std::chrono::hours(24)};
};

}  // namespace support
