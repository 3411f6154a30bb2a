#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

#include "platform/threads.h"

namespace rvo_calyr {

// Runs jobs one after the other on a thread that stands before the first is there, so that no job fails for want of
// one. Thread: any.
class JobThread {
 public:
    // Throws std::system_error when the system has no thread to give.
    explicit JobThread(platform::Threads& threads);

    // Finishes what was given to it, and waits for that.
    ~JobThread();
    JobThread(const JobThread&) = delete;
    JobThread& operator=(const JobThread&) = delete;

    // Throws std::bad_alloc only. What leaves `job` as an exception ends the process.
    void Run(std::function<void()> job);

 private:
    void Work();

    std::mutex m_mutex;  // guards the two below
    std::deque<std::function<void()>> m_jobs;
    bool m_closing = false;
    std::condition_variable m_changed;
    std::unique_ptr<platform::Thread> m_thread;
};

}  // namespace rvo_calyr
