#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>

namespace support {

// Ends the program when a test that may hang takes more than two minutes, so that a hang reads as a failure.
class Watchdog {
 public:
    Watchdog()
        : m_thread([this] {
              std::unique_lock lock(m_mutex);
              const auto end = std::chrono::system_clock::now() + std::chrono::minutes(2);
              if (m_done.wait_until(lock, end, [this] { return m_isDone; })) return;
              std::fputs("A test hangs; giving up.\n", stderr);
              std::abort();
          }) {}

    ~Watchdog() {
        {
            const std::lock_guard lock(m_mutex);
            m_isDone = true;
        }
        m_done.notify_all();
        m_thread.join();
    }

    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

 private:
    std::mutex m_mutex;
    std::condition_variable m_done;
    bool m_isDone = false;
    std::thread m_thread;  // declared last: it uses the others
};

}  // namespace support
