#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "ipc/channel_layout.h"
#include "ipc/function_ref.h"
#include "platform/kernel_objects.h"
#include "platform/threads.h"
#include "velmo_parent/channel_objects.h"
#include "velmo_parent/outcome.h"
#include "velmo_parent/peer_lists.h"
#include "velmo_parent/writing.h"

namespace velmo_parent {

enum class SendResult {
    Sent,      // on its way: with the process, or kept here in order until that has taken what came before
    Full,      // no slot is free just now; the writer has not run
    Closed,    // not open, or closed, or the channel's lists are damaged
    Refused,   // the message itself can't be sent; see the operation
    Declined,  // the writer would not; nothing is sent, and the slot serves the next message
};

// How far the process has come with what was sent. Both are of one moment.
struct SendProgress {
    std::uint64_t sent = 0;       // messages since Open
    std::int32_t unfinished = 0;  // of them, those whose slots the process has not given back: kept here, waiting for
                                  // it, or in its hands. Perhaps one too many, if it gives one back just now; never too
                                  // few
};

// The sending end of a channel that the process receives on. It holds back one of the N slots, so N - 1 messages can be
// on their way at a time. Messages that the process can't take yet are kept in their slots; a thread of this end hands
// them over when the process has taken the earlier ones.
//
// Thread: any, unless told otherwise. A lock is held while a writer runs; it must not call this end.
template <class T, std::int32_t N>
class SendEnd {
 public:
    // The seams must outlive this.
    SendEnd(platform::KernelObjects& kernelObjects, platform::Threads& threads)
        : m_threads(threads), m_objects(ipc::kLayoutOf<T, N>, kernelObjects) {}
    ~SendEnd() { Close(); }
    SendEnd(const SendEnd&) = delete;
    SendEnd& operator=(const SendEnd&) = delete;

    // Attaches to the channel `name` or makes it, and starts the thread. Once: an end that is open, or was, stays as it
    // is and the outcome is a failure. By the thread that also closes; others may send meanwhile.
    Outcome Open(const std::string& name) {
        if (m_thread || m_stop) return Outcome::Failure("channel " + name + " has been opened before");
        Outcome outcome = m_objects.Open(name);
        if (!outcome) return outcome;
        m_thread = m_threads.Start([this] { Pump(); });
        if (!m_thread) {
            m_objects.Close();
            return Outcome::Failure("no thread for channel " + name);
        }
        const std::lock_guard lock(m_mutex);
        m_isOpen = true;  // publishes the objects to those who send already
        return outcome;
    }

    // Sends one message without ever waiting for the process. `writer` fills a slot, which may hold anything. What it
    // throws is passed on; nothing is sent then, and the slot serves the next message.
    SendResult Send(ipc::function_ref<void(T&)> writer) {
        return SendIf([&](T& slot) {
            if (writer) writer(slot);
            return Writing::Done;
        });
    }

    // The same with a writer that can decline.
    SendResult SendIf(ipc::function_ref<Writing(T&)> writer) {
        const std::lock_guard lock(m_mutex);
        if (!m_isOpen || m_lists.Damaged()) return SendResult::Closed;
        ipc::AtomicWords words = m_objects.Words();
        const std::int32_t node = m_lists.TakeFree(words);
        if (node == ipc::kNoNode) return m_lists.Damaged() ? SendResult::Closed : SendResult::Full;
        T& slot = *static_cast<T*>(static_cast<void*>(m_objects.SlotAt(node)));
        if (writer && writer(slot) == Writing::Declined) return SendResult::Declined;
        m_lists.Keep();
        ++m_sent;
        Give();
        // The thread may be in its long wait: from now on it looks often, so that the process need not run dry first.
        if (!m_lists.Aside().Empty()) (void)m_objects.Available().Set();
        return SendResult::Sent;
    }

    // Messages that are kept here because the process has not taken the earlier ones.
    std::int32_t Waiting() const {
        const std::lock_guard lock(m_mutex);
        return m_lists.Aside().Count();
    }

    SendProgress Progress() const {
        const std::lock_guard lock(m_mutex);
        if (!m_isOpen) return {m_sent, 0};
        ipc::AtomicWords words = m_objects.Words();
        const std::int32_t inHand = m_lists.InHand() == ipc::kNoNode ? 0 : 1;
        return {m_sent, N - m_lists.CountFree(words) - inHand};
    }

    // True when the mapping held what no party that keeps the steps can leave there; nothing is sent any more.
    bool Damaged() const {
        const std::lock_guard lock(m_mutex);
        return m_lists.Damaged();
    }

    // Stops the thread and lets go of the channel. Messages that are still kept here are dropped. May be repeated; by
    // one thread at a time, and not from a writer.
    void Close() {
        if (!m_thread) return;
        m_stop = true;
        (void)m_objects.Available().Set();
        (void)m_thread->Join();
        m_thread.reset();
        const std::lock_guard lock(m_mutex);
        m_isOpen = false;
        m_objects.Close();
    }

 private:
    // Looks again after a while even without a signal: one that a killed process never sent, or the process's making of
    // the mapping, which has none.
    static constexpr std::uint32_t kIdleWaitMs = 500;
    // While messages are kept. The process signals that it is done with a message just before it takes the next, so at
    // the signal it may be too early by a moment.
    static constexpr std::uint32_t kBriskWaitMs = 1;
    static constexpr std::uint32_t kPatientWaitMs = 10;
    static constexpr int kBriskRounds = 32;

    void Pump() {
        int fruitless = 0;
        while (!m_stop) {
            bool keeps = false;
            {
                const std::lock_guard lock(m_mutex);
                if (Give()) fruitless = 0;
                keeps = !m_lists.Aside().Empty() && !m_lists.Damaged();
            }
            const std::uint32_t waitMs = !keeps                     ? kIdleWaitMs
                                         : fruitless < kBriskRounds ? kBriskWaitMs
                                                                    : kPatientWaitMs;
            const platform::WaitResult result = m_objects.Available().Wait(waitMs);
            if (result == platform::WaitResult::Signalled) {
                fruitless = 0;
            } else if (keeps && fruitless < kBriskRounds) {
                ++fruitless;
            }
            if (result == platform::WaitResult::Failed) {
                std::this_thread::sleep_for(std::chrono::milliseconds(kPatientWaitMs));  // refused by the system
            }
        }
    }

    // Lock: m_mutex held.
    bool Give() {
        ipc::AtomicWords words = m_objects.Words();
        if (!m_lists.GiveFilled(words)) return false;
        (void)m_objects.Filled().Set();  // refused: the process finds the messages when its own wait runs out
        return true;
    }

    platform::Threads& m_threads;
    ChannelObjects m_objects;
    std::unique_ptr<platform::Thread> m_thread;  // touched by Open and Close only
    std::atomic<bool> m_stop{false};
    mutable std::mutex m_mutex;  // guards the rest
    SenderLists<N> m_lists;
    bool m_isOpen = false;
    std::uint64_t m_sent = 0;
};

}  // namespace velmo_parent
