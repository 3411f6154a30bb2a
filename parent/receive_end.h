#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "infra/steady_clock.h"
#include "ipc/channel_layout.h"
#include "platform/kernel_objects.h"
#include "platform/threads.h"
#include "velmo_parent/channel_objects.h"
#include "velmo_parent/outcome.h"
#include "velmo_parent/peer_lists.h"

namespace velmo_parent {

// What a receiving end tells somebody who has to know whether the process can have dropped a message for want of a
// slot. Thread: all on the end's thread, between the visitor's calls, with no lock held.
class ReceiveWatch {
 public:
    virtual ~ReceiveWatch() = default;

    // The end is about to deliver all that there is, and has done so.
    virtual void BeforeLook() {}
    virtual void AfterLook() {}

    // The process has used up its slots, and the end is about to give it others: until it has, the process can send
    // nothing. It can't have been without a slot for longer than `pauseMs`.
    virtual void BeforeGiving(std::int64_t pauseMs) { (void)pauseMs; }

    // It has. The process had slots for `slots` messages up to then: these have been delivered or will be next. The
    // pause is reckoned anew.
    virtual void AfterGiving(std::uint64_t slots, std::int64_t pauseMs) {
        (void)slots;
        (void)pauseMs;
    }
};

// The receiving end of a channel that the process sends on. A thread of this end calls the visitor with each message,
// in its slot, as soon as it has come.
template <class T, std::int32_t N>
class ReceiveEnd {
 public:
    // Called on this end's thread, with no lock held. The message lies in shared memory until the visitor returns: what
    // is read may be anything, and twice read may be two things.
    using Visitor = std::function<void(const T&)>;

    // The seams must outlive this.
    ReceiveEnd(platform::KernelObjects& kernelObjects, platform::Threads& threads)
        : m_threads(threads), m_objects(ipc::kLayoutOf<T, N>, kernelObjects) {}
    ~ReceiveEnd() { Close(); }
    ReceiveEnd(const ReceiveEnd&) = delete;
    ReceiveEnd& operator=(const ReceiveEnd&) = delete;

    // Attaches to the channel `name` or makes it, and starts the thread. Once: an end that is open, or was, stays as it
    // is and the outcome is a failure. By the thread that also closes.
    //
    // `watch` may be null; it must outlive the thread. What it is told of slots counts from a channel that this end has
    // made.
    Outcome Open(const std::string& name, Visitor visitor, ReceiveWatch* watch = nullptr) {
        if (m_thread || m_stop) return Outcome::Failure("channel " + name + " has been opened before");
        Outcome outcome = m_objects.Open(name);
        if (!outcome) return outcome;
        // A sender that attached while the lists were not there yet waits for a slot, on the log channel for good.
        if (m_objects.WasMade()) (void)m_objects.Available().Set();
        m_visitor = std::move(visitor);
        m_watch = watch;
        m_lastRoomNs = infra::NowNs();
        m_thread = m_threads.Start([this] { Pump(); });
        if (!m_thread) {
            m_objects.Close();
            return Outcome::Failure("no thread for channel " + name);
        }
        const std::lock_guard lock(m_mutex);
        m_isOpen = true;
        return outcome;
    }

    // Waits until the visitor has returned from everything that the process had sent when this was called. Without
    // limit, if the visitor is. Does nothing on this end's own thread and on an end that isn't open.
    // Thread: the one that also opens and closes.
    void Drain() {
        if (!m_thread || m_thread->IsCurrent()) return;
        std::unique_lock lock(m_mutex);
        const std::uint64_t wanted = ++m_roundsWanted;
        (void)m_objects.Filled().Set();
        m_roundDone.wait(lock, [&] { return m_roundsDone >= wanted; });
    }

    // Makes this end look now, and not only at the next message or after a while. Nothing happens when it isn't open.
    // Thread: any.
    void Wake() {
        const std::lock_guard lock(m_mutex);
        if (m_isOpen) (void)m_objects.Filled().Set();
    }

    // True when the mapping held what no party that keeps the steps can leave there; nothing is received any more.
    // Thread: any.
    bool Damaged() const { return m_damaged; }

    // Stops the thread, after the visitor that runs has returned, and lets go of the channel. May be repeated; by one
    // thread at a time, and never by the visitor.
    void Close() {
        if (!m_thread) return;
        m_stop = true;
        (void)m_objects.Filled().Set();
        (void)m_thread->Join();
        m_thread.reset();
        const std::lock_guard lock(m_mutex);
        m_isOpen = false;
        m_objects.Close();
    }

 private:
    // Looks again after a while even without a signal, which a killed process may have owed.
    static constexpr std::uint32_t kIdleWaitMs = 500;
    // With a watch: how long the process had no slot is known no better than by this.
    static constexpr std::uint32_t kWatchedWaitMs = 100;
    static constexpr std::uint32_t kNoEventPauseMs = 10;  // in place of a wait that the system refuses

    void Pump() {
        while (!m_stop) {
            std::uint64_t wanted = 0;
            {
                const std::lock_guard lock(m_mutex);
                wanted = m_roundsWanted;
            }
            DeliverAll();
            {
                const std::lock_guard lock(m_mutex);
                m_roundsDone = wanted;
            }
            m_roundDone.notify_all();
            if (m_objects.Filled().Wait(m_watch != nullptr ? kWatchedWaitMs : kIdleWaitMs) ==
                platform::WaitResult::Failed) {
                std::this_thread::sleep_for(std::chrono::milliseconds(kNoEventPauseMs));
            }
        }
    }

    void DeliverAll() {
        ipc::AtomicWords words = m_objects.Words();
        if (m_watch != nullptr) m_watch->BeforeLook();
        for (std::int32_t node = m_lists.TakeNext(words); node != ipc::kNoNode && !m_stop;
             node = m_lists.TakeNext(words)) {
            // The slots of those that have been read go back first: for as long as the visitor takes nobody else gives
            // any. This one's is not among them.
            GiveBack(words);
            if (m_visitor) m_visitor(*static_cast<const T*>(static_cast<const void*>(m_objects.SlotAt(node))));
        }
        // Also without a new message: the process may have used up its free slots since the last look.
        GiveBack(words);
        m_damaged = m_lists.Damaged();
        if (m_watch != nullptr) m_watch->AfterLook();
    }

    void GiveBack(ipc::AtomicWords& words) {
        const std::int64_t beforeNs = infra::NowNs();  // before the look: what it finds can be over at once
        if (!m_lists.SenderIsOut(words)) {
            m_lastRoomNs = beforeNs;
            return;
        }
        if (m_lists.Aside().Empty()) return;
        if (m_watch != nullptr) m_watch->BeforeGiving(PauseMs());
        const auto count = static_cast<std::uint64_t>(m_lists.Aside().Count());
        if (!m_lists.GiveBack(words)) return;
        (void)m_objects.Available().Set();
        if (m_watch != nullptr) m_watch->AfterGiving(m_slotsGiven, PauseMs());
        m_slotsGiven += count;
        m_lastRoomNs = beforeNs;
    }

    std::int64_t PauseMs() const { return infra::ElapsedMs(m_lastRoomNs); }

    platform::Threads& m_threads;
    ChannelObjects m_objects;
    Visitor m_visitor;
    std::unique_ptr<platform::Thread> m_thread;  // touched by Open, Drain and Close only
    ReceiverLists<N> m_lists;                    // touched by the thread only, as are the next two behind Open
    std::uint64_t m_slotsGiven = N;              // to the process since the beginning
    std::int64_t m_lastRoomNs = 0;               // when the process had a slot for sure
    ReceiveWatch* m_watch = nullptr;             // set before the thread starts
    std::atomic<bool> m_stop{false};
    std::atomic<bool> m_damaged{false};
    std::mutex m_mutex;  // guards the counts and the flag
    std::condition_variable m_roundDone;
    std::uint64_t m_roundsWanted = 0;  // rounds of the thread that somebody waits for
    std::uint64_t m_roundsDone = 0;
    bool m_isOpen = false;  // for those who wake
};

}  // namespace velmo_parent
