#pragma once

#include <atomic>
#include <cstdint>
#include <span>

#include "ipc/channel_layout.h"

// The two lists of a channel, and the steps by which a party takes a node off one and puts it on the other.
//
// The steps are fixed: the peer was built against them. Two parties that both follow them at the same moment on a list
// with one node or none can lose a node; docs/channel-lists.md tells how, and what a peer does so that it never
// happens.
//
// The steps are written over a `Words` type that stands for the shared words, so that the code that runs in the process
// is also the code that an exhaustive search runs through every interleaving. AtomicWords is the one of the process.
//
// All of this is safe against whatever the other process writes: an index from the mapping is checked before it is
// used, and nothing here loops.
namespace ipc {

enum class List { Free, Used };
enum class End { Head, Tail };

constexpr List OtherList(List list) {
    return list == List::Free ? List::Used : List::Free;
}

// A lock that stands in for an atomic would be one of this process alone, and the other one would never see it.
static_assert(std::atomic_ref<std::int32_t>::is_always_lock_free);
static_assert(std::atomic_ref<std::uint8_t>::is_always_lock_free);

// The shared words in a mapping. The header and the nodes must stay mapped; nothing is owned. Thread: any.
class AtomicWords {
 public:
    AtomicWords(channel_header& header, std::span<channel_node> nodes) : m_header(header), m_nodes(nodes) {}

    std::int32_t NodeCount() const { return static_cast<std::int32_t>(m_nodes.size()); }

    std::int32_t Load(List list, End end) { return std::atomic_ref(EndOf(list, end)).load(); }
    void Store(List list, End end, std::int32_t value) { std::atomic_ref(EndOf(list, end)).store(value); }
    std::int32_t Exchange(List list, End end, std::int32_t value) {
        return std::atomic_ref(EndOf(list, end)).exchange(value);
    }
    bool CompareAndSwap(List list, End end, std::int32_t expected, std::int32_t desired) {
        return std::atomic_ref(EndOf(list, end)).compare_exchange_strong(expected, desired);
    }

    void StoreBusy(List list, std::uint8_t value) { std::atomic_ref(BusyOf(list)).store(value); }
    std::uint8_t ExchangeBusy(List list, std::uint8_t value) { return std::atomic_ref(BusyOf(list)).exchange(value); }

    // The links of node `index`, which lies in 0 to NodeCount() - 1. The peer writes them with plain stores, and on
    // x86-64 all of these are plain moves too. `next` has an order all the same: who takes the head learns of the node
    // behind it from this link alone, and goes on to read that node's message, so the load acquires what the release
    // published. `prev` is read by nobody, and `slot` is written only before the list's ends are published, each by a
    // full barrier; relaxed order does for both.
    std::int32_t LoadNext(std::int32_t index) {
        return std::atomic_ref(NodeAt(index).next).load(std::memory_order_acquire);
    }
    void StoreNext(std::int32_t index, std::int32_t value) {
        std::atomic_ref(NodeAt(index).next).store(value, std::memory_order_release);
    }
    void StorePrev(std::int32_t index, std::int32_t value) {
        std::atomic_ref(NodeAt(index).prev).store(value, std::memory_order_relaxed);
    }
    void StoreSlot(std::int32_t index, std::int32_t value) {
        std::atomic_ref(NodeAt(index).slot).store(value, std::memory_order_relaxed);
    }

 private:
    std::int32_t& EndOf(List list, End end) {
        if (list == List::Free) return end == End::Head ? m_header.free_head : m_header.free_tail;
        return end == End::Head ? m_header.used_head : m_header.used_tail;
    }
    std::uint8_t& BusyOf(List list) { return list == List::Free ? m_header.free_busy : m_header.used_busy; }
    channel_node& NodeAt(std::int32_t index) { return m_nodes[static_cast<std::size_t>(index)]; }

    channel_header& m_header;
    std::span<channel_node> m_nodes;
};

// Takes the first node off `list`. Returns its index, kNoNode when the list is empty, when the other party was quicker,
// or when what the mapping holds can't be: a head outside the nodes, or both heads on one node, as in a mapping that
// its maker has not initialised yet. One node per call, so a list that runs in a ring traps nobody.
template <class Words>
std::int32_t pop(Words& words, List list) {
    // The other head first: once it shows that the maker is done, the head that is read behind it is the maker's word.
    // The other way round a head from before, 0, would pass when the other one has moved on in between.
    const std::int32_t otherHead = words.Load(OtherList(list), End::Head);
    const std::int32_t head = words.Load(list, End::Head);
    const bool usable = head >= 0 && head < words.NodeCount() && head != otherHead;
    if (!usable) {
        words.StoreBusy(list, 0);
        return kNoNode;
    }
    // Succeeds only when this is the sole node.
    (void)words.CompareAndSwap(list, End::Tail, head, kNoNode);
    const bool taken = words.CompareAndSwap(list, End::Head, head, words.LoadNext(head));
    // The busy byte is cleared although nobody here sets it, and nobody waits for it: a peer may look.
    (void)words.ExchangeBusy(list, 0);
    return taken ? head : kNoNode;
}

// Puts node `index`, which the caller holds, at the end of `list`. The node's own `slot` word is not trusted: the index
// in hand is the one that was checked.
template <class Words>
void push(Words& words, List list, std::int32_t index) {
    words.StorePrev(index, kNoNode);
    words.StoreNext(index, kNoNode);
    const std::int32_t tail = words.Load(list, End::Tail);
    words.StorePrev(index, tail);
    (void)words.CompareAndSwap(list, End::Head, kNoNode, index);
    const bool appended = words.CompareAndSwap(list, End::Tail, tail, index);
    // A tail outside the nodes is the other side's damage; following it would write outside the mapping.
    if (appended && tail >= 0 && tail < words.NodeCount()) words.StoreNext(tail, index);
    (void)words.ExchangeBusy(list, 0);
}

// Makes a fresh channel of the mapping: all nodes free in ascending order, nothing used. Whoever creates the mapping
// does this once, before anything is sent; a party that attaches leaves everything as it is.
template <class Words>
void InitialiseLists(Words& words) {
    const std::int32_t count = words.NodeCount();
    for (std::int32_t i = 0; i < count; ++i) {
        words.StoreNext(i, i + 1);
        words.StorePrev(i, i - 1);
        words.StoreSlot(i, i);
    }
    words.StoreNext(count - 1, kNoNode);
    // In this order, each by an exchange.
    (void)words.Exchange(List::Free, End::Head, 0);
    (void)words.Exchange(List::Free, End::Tail, count - 1);
    (void)words.ExchangeBusy(List::Free, 0);
    (void)words.Exchange(List::Used, End::Head, kNoNode);
    (void)words.Exchange(List::Used, End::Tail, kNoNode);
    (void)words.ExchangeBusy(List::Used, 0);
}

}  // namespace ipc
