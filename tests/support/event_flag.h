#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace support {

// Tells another thread that something has happened, once and for good.
class EventFlag {
 public:
    void Set() {
        const std::lock_guard lock(m_mutex);
        m_isSet = true;
        m_condition.notify_all();
    }

    // True as soon as the flag is set, false when that takes longer than `limit`. The default is a watchdog's: far
    // beyond what anything that works needs.
    [[nodiscard]] bool Wait(std::chrono::milliseconds limit = std::chrono::seconds(60)) {
        std::unique_lock lock(m_mutex);
        return m_condition.wait_until(lock, std::chrono::system_clock::now() + limit, [this] { return m_isSet; });
    }

 private:
    std::mutex m_mutex;
    std::condition_variable m_condition;
    bool m_isSet = false;
};

}  // namespace support
