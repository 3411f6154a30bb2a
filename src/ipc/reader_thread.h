#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

#include "ipc/channel_base.h"
#include "platform/threads.h"

namespace ipc {

// Receives from one channel on a thread of its own, until it is stopped. Stopping closes the channel for this process:
// a channel that was read this way is not read again.
// Thread: one owner at a time; Stop may be called on the reader thread itself, but can't join it there.
class reader_thread {
 public:
    explicit reader_thread(platform::Threads& threads = platform::SystemThreads()) : m_threads(threads) {}

    // Stops. A thread that is still attached after that ends the process, as with std::thread.
    ~reader_thread();

    reader_thread(const reader_thread&) = delete;
    reader_thread& operator=(const reader_thread&) = delete;

    // Stops an earlier run, then calls channel->Receive(visitor, timeoutMs) over and over on a new thread. `visitor` is
    // copied. With no channel nothing is started. Throws std::system_error, "resource unavailable try again", when
    // there is no thread to be had; the channel is then held until Stop. With a thread still attached that Stop could
    // not join, it ends the process, as assigning to a running std::thread does.
    template <class Channel, class Visitor>
    void Start(std::shared_ptr<Channel> channel, Visitor visitor, std::uint32_t timeoutMs) {
        Channel* const receiver = channel.get();
        StartPasses(std::move(channel), [receiver, visitor = std::move(visitor), timeoutMs]() mutable {
            receiver->Receive(visitor, timeoutMs);
        });
    }

    // Wakes the channel, waits for the visitor that runs and for the thread's end, and lets go of the channel. Harmless
    // when nothing runs. Nothing is reported: a thread that could not be joined, or that is the calling one, stays
    // attached.
    void Stop() noexcept;

 private:
    void StartPasses(std::shared_ptr<channel_base> channel, std::function<void()> pass);
    void JoinThread();

    std::atomic<bool> m_quit{false};
    std::unique_ptr<platform::Thread> m_thread;
    channel_base* m_channel = nullptr;
    std::shared_ptr<channel_base> m_channelReference;  // keeps m_channel alive

    platform::Threads& m_threads;
};

}  // namespace ipc
