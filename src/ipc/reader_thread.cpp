#include "ipc/reader_thread.h"

#include <exception>
#include <system_error>

#include "infra/system_error.h"

namespace ipc {

reader_thread::~reader_thread() {
    Stop();
    if (m_thread) std::terminate();
}

void reader_thread::StartPasses(std::shared_ptr<channel_base> channel, std::function<void()> pass) {
    Stop();
    // A thread that Stop left attached has lost its channel and must not go round again.
    if (!m_thread) m_quit.store(false);
    m_channel = channel.get();
    m_channelReference = std::move(channel);
    if (m_channel == nullptr) return;
    if (m_thread) std::terminate();

    m_thread = m_threads.Start([this, pass = std::move(pass)] {
        while (!m_quit.load())
            pass();  // a time-out just ends one pass
    });
    if (!m_thread) infra::ThrowSystemError(std::errc::resource_unavailable_try_again);
}

void reader_thread::Stop() noexcept {
    if (m_channel == nullptr) return;
    try {
        m_quit.store(true);
        m_channel->Wake();
        JoinThread();
    } catch (...) {
        // Whatever went wrong, the channel is let go; the thread stays attached and the destructor has the last word.
    }
    m_channel = nullptr;
    m_channelReference.reset();
}

void reader_thread::JoinThread() {
    if (!m_thread) return;
    if (m_thread->IsCurrent()) infra::ThrowSystemError(std::errc::resource_deadlock_would_occur);
    if (!m_thread->Join()) infra::ThrowSystemError(std::errc::no_such_process);
    m_thread.reset();
}

}  // namespace ipc
