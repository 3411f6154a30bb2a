#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <utility>

namespace velmo_run {

// Why a run does not go on: the first reason counts. Thread: any.
class StopSign {
 public:
    void Raise(std::string why) {
        const std::lock_guard lock(m_mutex);
        if (m_isRaised) return;
        m_why = std::move(why);
        m_isRaised = true;
    }

    bool IsRaised() const { return m_isRaised; }

    // "" while it is not raised.
    std::string Why() const {
        const std::lock_guard lock(m_mutex);
        return m_why;
    }

 private:
    mutable std::mutex m_mutex;
    std::string m_why;  // guarded by m_mutex
    std::atomic<bool> m_isRaised{false};
};

}  // namespace velmo_run
