#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "ipc/channel_layout.h"
#include "ipc/list_steps.h"

// A channel's two lists as this side uses them, so that nothing is ever lost against a party that follows the fixed
// steps of ipc/list_steps.h. Two rules do it; docs/channel-lists.md tells why they suffice.
//
//   Taking  The node at the tail is never taken. A message is delivered in place as soon as it can be seen, but its
//           node is unlinked only when a newer one stands behind it and the link is there. So the list never becomes
//           empty again, and the party that appends never meets this side on the same word.
//   Giving  Nodes are only put onto a list that is empty, head and tail both -1; tail first and head last, with the
//           links inside the chain written before. Until then they are kept aside, in order. A head of -1 is the other
//           party's last word on its last node, so from then on the list is this side's alone.
//
// The classes are plain values over a `Words` type, like pop and push: AtomicWords in a process, a double in a search
// that runs this very code through every interleaving. They hold no lock; the caller serialises the calls of one
// object.
//
// What the mapping holds is input: an index is checked before it is used, a node that is already in this side's hands
// is not believed to stand in a list, and nothing here walks a list.
namespace velmo_parent {

// Up to N nodes in this side's hands, oldest first.
template <std::int32_t N>
class NodeQueue {
 public:
    bool Empty() const { return m_count == 0; }
    std::int32_t Count() const { return m_count; }
    std::int32_t operator[](std::int32_t position) const { return m_nodes[static_cast<std::size_t>(position)]; }

    bool Contains(std::int32_t node) const {
        for (std::int32_t i = 0; i < m_count; ++i) {
            if ((*this)[i] == node) return true;
        }
        return false;
    }

    // Returns false, with nothing changed, when N nodes are in it: more than there are can't be in hand.
    bool Append(std::int32_t node) {
        if (m_count == N) return false;
        m_nodes[static_cast<std::size_t>(m_count)] = node;
        ++m_count;
        return true;
    }

    void Clear() { m_count = 0; }

 private:
    std::array<std::int32_t, static_cast<std::size_t>(N)> m_nodes{};
    std::int32_t m_count = 0;
};

// Makes a fresh channel of a zero-filled mapping, with the words that ipc::InitialiseLists leaves, in an order that is
// safe while the other party is attached already. As long as both heads are equal that party takes nothing; so
// everything else is in place before the used list's head, the last word, parts them.
template <class Words>
void MakeLists(Words& words) {
    const std::int32_t count = words.NodeCount();
    for (std::int32_t i = 0; i < count; ++i) {
        words.StoreNext(i, i + 1 < count ? i + 1 : ipc::kNoNode);
        words.StorePrev(i, i - 1);
        words.StoreSlot(i, i);
    }
    words.Store(ipc::List::Free, ipc::End::Head, 0);
    words.Store(ipc::List::Free, ipc::End::Tail, count - 1);
    words.StoreBusy(ipc::List::Free, 0);
    words.StoreBusy(ipc::List::Used, 0);
    words.Store(ipc::List::Used, ipc::End::Tail, ipc::kNoNode);
    words.Store(ipc::List::Used, ipc::End::Head, ipc::kNoNode);
}

// The head of `list` when it can be one: inside the nodes, and not the other list's head as well, which is how a
// mapping looks that its maker has not initialised. Else kNoNode.
template <class Words>
std::int32_t UsableHead(Words& words, ipc::List list) {
    // In this order, for the reason that ipc::pop tells.
    const std::int32_t otherHead = words.Load(ipc::OtherList(list), ipc::End::Head);
    const std::int32_t head = words.Load(list, ipc::End::Head);
    const bool usable = head >= 0 && head < words.NodeCount() && head != otherHead;
    return usable ? head : ipc::kNoNode;
}

// Puts the chain of `nodes` onto `list` when that is empty. Returns false, with nothing written, when it is not, or
// when there is nothing to give.
template <class Words, std::int32_t N>
bool GiveChain(Words& words, ipc::List list, const NodeQueue<N>& nodes) {
    if (nodes.Empty()) return false;
    if (words.Load(list, ipc::End::Head) != ipc::kNoNode) return false;
    // A head of -1 with a tail: a maker in the middle of initialising, or damage.
    if (words.Load(list, ipc::End::Tail) != ipc::kNoNode) return false;
    const std::int32_t last = nodes.Count() - 1;
    for (std::int32_t i = 0; i <= last; ++i) {
        words.StorePrev(nodes[i], i == 0 ? ipc::kNoNode : nodes[i - 1]);
        words.StoreNext(nodes[i], i == last ? ipc::kNoNode : nodes[i + 1]);
    }
    words.Store(list, ipc::End::Tail, nodes[last]);
    words.Store(list, ipc::End::Head, nodes[0]);
    return true;
}

// This side's part of the lists of a channel with N slots that it receives on. Take a node, give back, read the slot of
// the one that was taken, take the next; give back once more when there is none.
template <std::int32_t N>
class ReceiverLists {
 public:
    // The node of the next message that was not returned before; its slot may be read until the next call. kNoNode when
    // there is none yet.
    template <class Words>
    std::int32_t TakeNext(Words& words) {
        if (m_damaged) return ipc::kNoNode;
        if (m_heldBack == ipc::kNoNode) {
            m_heldBack = UsableHead(words, ipc::List::Used);  // the first message of all
            return m_heldBack;
        }
        const std::int32_t newer = words.LoadNext(m_heldBack);
        if (newer == ipc::kNoNode) return ipc::kNoNode;
        const bool inList = newer >= 0 && newer < words.NodeCount() && newer != m_heldBack && !m_aside.Contains(newer);
        // Only this side moves a head that is not -1, so a head that moved by itself is damage as well.
        if (!inList || !words.CompareAndSwap(ipc::List::Used, ipc::End::Head, m_heldBack, newer)) {
            m_damaged = true;
            return ipc::kNoNode;
        }
        (void)m_aside.Append(m_heldBack);  // has room: each of the N nodes is in it once at most
        m_heldBack = newer;
        return newer;
    }

    // Gives the nodes that were read back to the sender, if it has used up its free list. True when it did; the caller
    // then signals that slots are available.
    template <class Words>
    bool GiveBack(Words& words) {
        if (m_damaged || !GiveChain(words, ipc::List::Free, m_aside)) return false;
        m_aside.Clear();
        return true;
    }

    // True when the sender has used up its free list: it can send nothing until GiveBack is true. Stays so until then.
    template <class Words>
    bool SenderIsOut(Words& words) const {
        return words.Load(ipc::List::Free, ipc::End::Head) == ipc::kNoNode;
    }

    // True once the mapping held what no party that keeps the steps can leave there. Nothing is taken or given then.
    bool Damaged() const { return m_damaged; }

    // The node of the newest message, delivered but still in its list; kNoNode before the first.
    std::int32_t HeldBack() const { return m_heldBack; }
    const NodeQueue<N>& Aside() const { return m_aside; }

 private:
    NodeQueue<N> m_aside;
    std::int32_t m_heldBack = ipc::kNoNode;
    bool m_damaged = false;
};

// This side's part of the lists of a channel with N slots that it sends on. Take a node, fill its slot, keep it; give
// after each, and whenever the receiver says that it has taken something.
template <std::int32_t N>
class SenderLists {
 public:
    // A free node, now in the caller's hand: its slot may be written until Keep. One that was taken and never kept,
    // because its writer failed, comes again. kNoNode when none can be had.
    template <class Words>
    std::int32_t TakeFree(Words& words) {
        if (m_damaged) return ipc::kNoNode;
        if (m_inHand != ipc::kNoNode) return m_inHand;
        const std::int32_t head = UsableHead(words, ipc::List::Free);
        if (head == ipc::kNoNode) return ipc::kNoNode;
        const std::int32_t newer = words.LoadNext(head);
        if (newer == ipc::kNoNode) return ipc::kNoNode;
        const bool inList = newer >= 0 && newer < words.NodeCount() && newer != head && !m_aside.Contains(newer) &&
                            !m_aside.Contains(head);
        if (!inList || !words.CompareAndSwap(ipc::List::Free, ipc::End::Head, head, newer)) {
            m_damaged = true;
            return ipc::kNoNode;
        }
        m_inHand = head;
        return head;
    }

    // The slot of the node that TakeFree gave is filled: it goes out behind those that were kept before.
    void Keep() {
        if (m_inHand == ipc::kNoNode) return;
        (void)m_aside.Append(m_inHand);  // has room: each of the N nodes is in it once at most
        m_inHand = ipc::kNoNode;
    }

    // Hands all kept nodes to the receiver, if it has taken everything it was given before. True when it did; the
    // caller then signals that slots are filled.
    template <class Words>
    bool GiveFilled(Words& words) {
        if (m_damaged || !GiveChain(words, ipc::List::Used, m_aside)) return false;
        m_aside.Clear();
        return true;
    }

    // How many nodes the free list shows, N at most. The receiver may be giving nodes back: what is there for sure is
    // counted, and perhaps not yet the newest.
    template <class Words>
    std::int32_t CountFree(Words& words) const {
        std::int32_t count = 0;
        std::int32_t node = UsableHead(words, ipc::List::Free);
        while (node >= 0 && node < words.NodeCount() && count < N) {
            ++count;
            node = words.LoadNext(node);
        }
        return count;
    }

    // As with ReceiverLists.
    bool Damaged() const { return m_damaged; }

    std::int32_t InHand() const { return m_inHand; }
    const NodeQueue<N>& Aside() const { return m_aside; }

 private:
    NodeQueue<N> m_aside;
    std::int32_t m_inHand = ipc::kNoNode;
    bool m_damaged = false;
};

}  // namespace velmo_parent
