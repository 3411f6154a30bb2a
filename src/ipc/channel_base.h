#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "ipc/channel_layout.h"
#include "ipc/list_steps.h"
#include "platform/kernel_objects.h"
#include "platform/standard_streams.h"

namespace ipc {

// What a process does on a channel. Fixed for a channel's whole life; the peer has the other one.
inline constexpr std::int32_t kReceives = 0;
inline constexpr std::int32_t kSends = 1;

// The part of a channel that does not depend on its message type: the named objects, the waits, the lists, and who is
// inside. Use it as channel<T, N>.
//
// Closing while another thread is inside Send or Receive wakes that thread at once; the mapping and the handles go when
// the last one inside has left, so that nobody works on a view that is gone. Close never waits.
class channel_base {
 public:
    channel_base(const channel_base&) = delete;
    channel_base& operator=(const channel_base&) = delete;

    // Marks the channel closed in this process and wakes whoever waits on it, once. Releases nothing: nodes that are
    // queued can still be received. Thread: any.
    void Wake();

    // Wake, and releases mapping and events, at the latest when the last thread inside has left. May be repeated; a
    // closed channel is not opened again. Thread: any, also a visitor or a writer of this channel.
    void Close();

    // How many waits Send has begun since the last message that went out. For those who watch a link: nothing in here
    // depends on it. Thread: any.
    std::uint32_t WaitCount() const { return m_waitCount.load(); }

 protected:
    // One call that uses the mapping or the events; they stay until it ends. On a channel that is being closed it is
    // false from the start, and the caller has to go.
    class Inside {
     public:
        explicit Inside(channel_base& owner) : m_owner(owner), m_entered(owner.Enter()) {}
        ~Inside();
        Inside(const Inside&) = delete;
        Inside& operator=(const Inside&) = delete;

        explicit operator bool() const { return m_entered; }

        // Around a visitor, which may destroy the channel. EndVisit is false when it has: no member may be touched.
        void BeginVisit();
        bool EndVisit();

     private:
        channel_base& m_owner;
        bool m_entered;
        bool m_visiting = false;
        bool m_destroyed = false;
    };

    channel_base(std::int32_t role, const ChannelLayout& layout, platform::KernelObjects& kernelObjects,
                 platform::StandardStreams& streams);
    ~channel_base() = default;

    bool OpenObjects(const std::string& name);

    // For the destructor of the whole: closes, and waits until everybody else has left. The visitor that runs on the
    // calling thread is not waited for, but told.
    void Shut();

    // Send without the message: a node to fill, kNoNode when closed or out of time; then its way to the peer.
    std::int32_t TakeFreeNode(bool overwriteOldest, std::uint32_t timeoutMs);
    void Publish(std::int32_t node);

    // Receive without the message: a filled node, kNoNode when there is none; then its way back.
    std::int32_t TakeUsedNode(std::uint32_t timeoutMs);
    void GiveBack(std::int32_t node);

    // Where the slot of `node` begins; node comes from one of the Take functions.
    std::byte* SlotAt(std::int32_t node) const;

 private:
    bool OpenEvents(const std::string& name);
    bool AttachMapping(const std::string& mappingName);
    bool MakeMapping(const std::string& mappingName);
    std::unique_ptr<platform::NamedMapping> LetGoOfMapping();
    AtomicWords Words() const;
    bool Enter();
    void Leave();
    void ReleaseObjects();

    // Set in m_inside once the objects have to go; the rest of it counts those inside.
    static constexpr std::uint32_t kClosing = 0x80000000;

    platform::KernelObjects& m_kernelObjects;
    platform::StandardStreams& m_streams;
    const ChannelLayout m_layout;

    const std::int32_t m_role;
    // The objects and what describes them are written by Open, before the channel is shared, and by ReleaseObjects,
    // when nobody is inside. Everybody else reads them only while inside, so they need no lock.
    std::unique_ptr<platform::NamedMapping> m_mapping;
    std::byte* m_view = nullptr;
    std::uint64_t m_mappingSize = 0;     // bytes; 0 when not open
    channel_header* m_header = nullptr;  // the start of m_view; null when not open
    std::unique_ptr<platform::NamedEvent> m_evtFilled;
    std::string m_evtFilledName;
    std::unique_ptr<platform::NamedEvent> m_evtAvail;
    std::string m_evtAvailName;
    std::atomic<std::uint8_t> m_closed{0};  // never back to 0; the peer can't see it
    std::atomic<std::uint32_t> m_waitCount{0};
    const std::uint32_t m_waitCountLimit = 500000;
    [[maybe_unused]] const std::uint8_t m_reserved = 1;
    bool* m_destroyedFlag = nullptr;  // on the stack of a running Receive; touched by its thread, or when nobody is in

    std::atomic<std::thread::id> m_visitorThread{};  // runs a visitor of this channel just now
    std::atomic<std::uint32_t> m_inside{0};
    std::mutex m_leaveMutex;         // held by whoever closes, and whoever leaves a channel that is being closed
    std::condition_variable m_left;  // somebody left a channel that is being closed
};

}  // namespace ipc
