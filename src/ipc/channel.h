#pragma once

#include <cstdint>
#include <string>
#include <type_traits>

#include "ipc/channel_base.h"
#include "ipc/function_ref.h"

namespace ipc {

// A one-way queue of N messages of type T between two processes, in one named mapping with two named events. Messages
// are written and read in place. Either process may come first.
//
// In this process one thread at a time sends, or one thread receives; the lists know one party on each end, and the
// channel has no lock for them. What is in the mapping may be anything: the other process can write there at any time.
// No index from it is used unchecked, but the content of a T is the reader's to judge.
template <class T, std::int32_t N>
class channel : public channel_base {
    static_assert(N > 0 && std::is_trivially_copyable_v<T> && std::is_standard_layout_v<T>);

 public:
    static constexpr ChannelLayout kLayout = kLayoutOf<T, N>;

    // role is kReceives or kSends; it is not checked, and with any other value nothing is ever sent or received.
    // The seams must outlive the channel.
    explicit channel(std::int32_t role, platform::KernelObjects& kernelObjects = platform::SystemKernelObjects(),
                     platform::StandardStreams& streams = platform::SystemStandardStreams())
        : channel_base(role, kLayout, kernelObjects, streams) {}

    // Closes, and waits until others have left Send and Receive. A visitor of this channel may destroy it: its Receive
    // then returns without touching it.
    virtual ~channel() { Shut(); }

    // Attaches to the channel `name`, or makes it when it is not there. Called once, before the channel is shared with
    // other threads. False when an event or the mapping can't be had; the channel is closed then. When there was
    // nothing to attach to, the system's error number goes to standard output. An open channel lets go of what it had
    // and attaches anew.
    bool Open(const std::string& name) { return OpenObjects(name); }

    // Sends one message: `writer` fills a free slot, which may hold anything, and the peer is told. An empty writer
    // sends the slot as it is. Waits up to timeoutMs milliseconds for a free slot, and as long again after every stray
    // signal; platform::kNoTimeLimit waits for good. overwriteOldest takes the oldest unread message's slot instead of
    // waiting. False when the channel is closed or no slot came free; the writer has not run then.
    bool Send(function_ref<void(T&)> writer, bool overwriteOldest, std::uint32_t timeoutMs) {
        const Inside inside(*this);
        const std::int32_t node = TakeFreeNode(overwriteOldest, timeoutMs);  // none when this call was refused entry
        if (node == kNoNode) return false;
        if (writer) writer(*Message(node));
        Publish(node);
        return true;
    }

    // Receives at most one message: `visitor` sees it in its slot, which is the receiver's until the visitor returns.
    // An empty visitor drops the message. Without a message it waits up to timeoutMs milliseconds, and returns without
    // having called the visitor when none came or the channel was closed. The visitor may close or destroy the channel,
    // and must not call Receive on it.
    void Receive(function_ref<void(const T&)> visitor, std::uint32_t timeoutMs) {
        Inside inside(*this);
        if (!inside) return;
        const std::int32_t node = TakeUsedNode(timeoutMs);
        if (node == kNoNode) return;
        if (visitor) {
            inside.BeginVisit();
            visitor(*Message(node));
            if (!inside.EndVisit()) return;  // destroyed by its visitor
        }
        GiveBack(node);
    }

 private:
    T* Message(std::int32_t node) const { return static_cast<T*>(static_cast<void*>(SlotAt(node))); }
};

}  // namespace ipc
