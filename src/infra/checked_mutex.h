#pragma once

#include <atomic>
#include <mutex>
#include <thread>

#include "infra/system_error.h"

namespace infra {

// A mutex that is not recursive and says so: a thread that locks it twice gets std::system_error with the text
// "device or resource busy", where std::mutex would hang. Works with std::unique_lock and platform::Condition.
// Thread: any.
class CheckedMutex {
 public:
    void lock() {
        const std::thread::id self = std::this_thread::get_id();
        // A thread finds its own id here only if it put it there and has not unlocked since: relaxed is enough.
        if (m_owner.load(std::memory_order_relaxed) == self) {
            ThrowSystemError(std::errc::device_or_resource_busy);
        }
        m_mutex.lock();
        m_owner.store(self, std::memory_order_relaxed);
    }

    void unlock() {
        m_owner.store(std::thread::id(), std::memory_order_relaxed);
        m_mutex.unlock();
    }

 private:
    std::mutex m_mutex;
    std::atomic<std::thread::id> m_owner{std::thread::id()};
};

}  // namespace infra
