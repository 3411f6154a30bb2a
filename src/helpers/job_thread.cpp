#include "helpers/job_thread.h"

#include <utility>

#include "infra/system_error.h"

namespace rvo_calyr {

JobThread::JobThread(platform::Threads& threads) : m_thread(threads.Start([this] { Work(); })) {
    if (!m_thread) infra::ThrowSystemError(std::errc::resource_unavailable_try_again);
}

JobThread::~JobThread() {
    {
        const std::lock_guard lock(m_mutex);
        m_closing = true;
    }
    m_changed.notify_one();
    (void)m_thread->Join();
}

void JobThread::Run(std::function<void()> job) {
    {
        const std::lock_guard lock(m_mutex);
        m_jobs.push_back(std::move(job));
    }
    m_changed.notify_one();
}

void JobThread::Work() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_closing || !m_jobs.empty(); });
        if (m_jobs.empty()) return;
        const std::function<void()> job = std::move(m_jobs.front());
        m_jobs.pop_front();
        lock.unlock();
        job();
        lock.lock();
    }
}

}  // namespace rvo_calyr
