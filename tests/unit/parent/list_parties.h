#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "ipc/list_steps.h"
#include "list_explorer.h"
#include "velmo_parent/peer_lists.h"

// The four parties of a search: a sender and a receiver that follow the fixed steps, as the process does, and a sender
// and a receiver of this library. Each says what it has in hand, so that the search can account for every node.
namespace list_search {

// Who initialises the mapping, and how.
enum class Make { Nothing, FixedSteps, OurSteps };

template <class Words>
void MakeBy(Words& words, Make how) {
    if (how == Make::FixedSteps) {
        ipc::InitialiseLists(words);
    } else {
        velmo_parent::MakeLists(words);
    }
}

inline void EncodeByte(std::string& key, std::int32_t value) {
    key.push_back(static_cast<char>(value));
}

template <std::int32_t N>
void EncodeQueue(std::string& key, const velmo_parent::NodeQueue<N>& queue) {
    EncodeByte(key, queue.Count());
    for (std::int32_t i = 0; i < queue.Count(); ++i)
        EncodeByte(key, queue[i]);
}

template <std::int32_t N>
void CountNode(PerNode<std::int32_t, N>& places, std::int32_t node) {
    if (node >= 0) ++places[static_cast<std::size_t>(node)];
}

template <std::int32_t N>
void CountQueue(PerNode<std::int32_t, N>& places, const velmo_parent::NodeQueue<N>& queue) {
    for (std::int32_t i = 0; i < queue.Count(); ++i)
        CountNode<N>(places, queue[i]);
}

// Sends messages 1, 2, ... `total`, as channel::Send does.
template <std::int32_t N>
struct FixedSender {
    enum class Phase : std::int8_t { Make, Pop, Write, Push, Signal, Wait, Done };

    Make make = Make::Nothing;
    std::int32_t total = 0;
    Phase phase = Phase::Pop;
    std::int32_t hand = ipc::kNoNode;
    std::int32_t sent = 0;

    template <class Words>
    void Turn(Words& words) {
        switch (phase) {
            case Phase::Make:
                MakeBy(words, make);
                phase = Phase::Pop;
                break;
            case Phase::Pop:
                hand = ipc::pop(words, ipc::List::Free);
                phase = hand == ipc::kNoNode ? Phase::Wait : Phase::Write;
                break;
            case Phase::Write:
                words.WriteSlot(hand, sent + 1);
                phase = Phase::Push;
                break;
            case Phase::Push:
                ipc::push(words, ipc::List::Used, hand);
                hand = ipc::kNoNode;
                phase = Phase::Signal;
                break;
            case Phase::Signal:
                words.Signal(Event::Filled);
                ++sent;
                phase = sent == total ? Phase::Done : Phase::Pop;
                break;
            case Phase::Wait:
                words.TakeSignal(Event::Available);
                phase = Phase::Pop;
                break;
            case Phase::Done:
                break;
        }
    }

    bool CanGoOn(const Shared<N>& shared) const {
        return phase == Phase::Wait ? shared.IsSet(Event::Available) : phase != Phase::Done;
    }
    bool IsMaking() const { return phase == Phase::Make; }
    bool HasSentAll() const { return phase == Phase::Done; }
    std::int32_t PuttingDown() const { return phase == Phase::Push ? hand : ipc::kNoNode; }
    void CountHeld(PerNode<std::int32_t, N>& places) const { CountNode<N>(places, hand); }
    void Encode(std::string& key) const {
        EncodeByte(key, static_cast<std::int32_t>(phase));
        EncodeByte(key, hand);
        EncodeByte(key, sent);
    }
};

// Receives until message `total` has come, as channel::Receive does.
template <std::int32_t N>
struct FixedReceiver {
    enum class Phase : std::int8_t { Make, Pop, Read, Push, Signal, Wait, Done };

    Make make = Make::Nothing;
    std::int32_t total = 0;
    Phase phase = Phase::Pop;
    std::int32_t hand = ipc::kNoNode;
    std::int32_t received = 0;
    bool wrong = false;

    template <class Words>
    void Turn(Words& words) {
        switch (phase) {
            case Phase::Make:
                MakeBy(words, make);
                phase = Phase::Pop;
                break;
            case Phase::Pop:
                hand = ipc::pop(words, ipc::List::Used);
                phase = hand == ipc::kNoNode ? Phase::Wait : Phase::Read;
                break;
            case Phase::Read:
                wrong = wrong || words.ReadSlot(hand) != received + 1;
                ++received;
                phase = Phase::Push;
                break;
            case Phase::Push:
                ipc::push(words, ipc::List::Free, hand);
                hand = ipc::kNoNode;
                phase = Phase::Signal;
                break;
            case Phase::Signal:
                words.Signal(Event::Available);
                phase = received == total ? Phase::Done : Phase::Pop;
                break;
            case Phase::Wait:
                words.TakeSignal(Event::Filled);
                phase = Phase::Pop;
                break;
            case Phase::Done:
                break;
        }
    }

    bool CanGoOn(const Shared<N>& shared) const {
        return phase == Phase::Wait ? shared.IsSet(Event::Filled) : phase != Phase::Done;
    }
    bool IsMaking() const { return phase == Phase::Make; }
    bool HasReceivedAll() const { return phase == Phase::Done && !wrong; }
    bool WrongMessage() const { return wrong; }
    std::int32_t PuttingDown() const { return phase == Phase::Push ? hand : ipc::kNoNode; }
    void CountHeld(PerNode<std::int32_t, N>& places) const { CountNode<N>(places, hand); }
    void Encode(std::string& key) const {
        EncodeByte(key, static_cast<std::int32_t>(phase));
        EncodeByte(key, hand);
        EncodeByte(key, received);
        EncodeByte(key, wrong ? 1 : 0);
    }
};

// Sends messages 1, 2, ... `total` by the two rules. It tries to give after each message, as a caller of Send does,
// and after each signal, as the thread behind the end does; a lock makes these one after the other.
template <std::int32_t N, class Lists = velmo_parent::SenderLists<N>>
struct PeerSender {
    enum class Phase : std::int8_t { Make, Take, Write, Give, Signal, Wait, Done };

    Make make = Make::Nothing;
    std::int32_t total = 0;
    Phase phase = Phase::Take;
    bool wakesByTime = false;  // also looks again without a signal: a maker that initialises does not signal
    std::int32_t sent = 0;
    bool progress = false;  // since the last wait
    Lists lists{};

    template <class Words>
    void Turn(Words& words) {
        switch (phase) {
            case Phase::Make:
                MakeBy(words, make);
                phase = Phase::Take;
                break;
            case Phase::Take:
                phase = lists.TakeFree(words) == ipc::kNoNode ? Phase::Give : Phase::Write;
                break;
            case Phase::Write:
                words.WriteSlot(lists.InHand(), sent + 1);
                lists.Keep();
                ++sent;
                progress = true;
                phase = Phase::Give;
                break;
            case Phase::Give:
                phase = lists.GiveFilled(words) ? Phase::Signal : AfterGive();
                break;
            case Phase::Signal:
                words.Signal(Event::Filled);
                progress = true;
                phase = AfterGive();
                break;
            case Phase::Wait:
                words.TakeSignal(Event::Available);
                progress = false;
                phase = NextTry();
                break;
            case Phase::Done:
                break;
        }
    }

    // An idle end does not look again by itself: only a signal wakes it.
    Phase AfterGive() {
        if (sent == total && lists.Aside().Empty()) return Phase::Done;
        if (!progress || sent == total) return Phase::Wait;
        progress = false;
        return NextTry();
    }
    Phase NextTry() const { return sent < total ? Phase::Take : Phase::Give; }

    bool CanGoOn(const Shared<N>& shared) const {
        return phase == Phase::Wait ? wakesByTime || shared.IsSet(Event::Available) : phase != Phase::Done;
    }
    bool IsMaking() const { return phase == Phase::Make; }
    bool HasSentAll() const { return phase == Phase::Done; }
    std::int32_t PuttingDown() const { return ipc::kNoNode; }  // its last access is the one that gives
    void CountHeld(PerNode<std::int32_t, N>& places) const {
        CountNode<N>(places, lists.InHand());
        CountQueue<N>(places, lists.Aside());
    }
    void Encode(std::string& key) const {
        EncodeByte(key, static_cast<std::int32_t>(phase));
        EncodeByte(key, sent);
        EncodeByte(key, (progress ? 1 : 0) + (lists.Damaged() ? 2 : 0));
        EncodeByte(key, lists.InHand());
        EncodeQueue(key, lists.Aside());
    }
};

// Receives until message `total` has come, by the two rules: take, try to give back what was read before, read, and so
// on until nothing is there; then it tries to give back once more.
template <std::int32_t N, class Lists = velmo_parent::ReceiverLists<N>>
struct PeerReceiver {
    enum class Phase : std::int8_t { Make, Take, Read, Give, Signal, Wait };

    Make make = Make::Nothing;
    std::int32_t total = 0;
    Phase phase = Phase::Take;
    std::int32_t received = 0;
    std::int32_t reading = ipc::kNoNode;
    bool wrong = false;
    bool progress = false;  // since the last wait
    Lists lists{};

    template <class Words>
    void Turn(Words& words) {
        switch (phase) {
            case Phase::Make:
                MakeBy(words, make);
                progress = true;
                phase = Phase::Signal;  // a sender that came too early waits for it, perhaps without a time limit
                break;
            case Phase::Take:
                reading = lists.TakeNext(words);
                progress = reading != ipc::kNoNode;
                phase = Phase::Give;
                break;
            case Phase::Read:
                wrong = wrong || words.ReadSlot(reading) != received + 1;
                ++received;
                reading = ipc::kNoNode;
                phase = Phase::Take;
                break;
            case Phase::Give:
                phase = lists.GiveBack(words) ? Phase::Signal : AfterGive();
                break;
            case Phase::Signal:
                words.Signal(Event::Available);
                phase = AfterGive();
                break;
            case Phase::Wait:
                words.TakeSignal(Event::Filled);
                phase = Phase::Take;
                break;
        }
    }

    Phase AfterGive() const {
        if (reading != ipc::kNoNode) return Phase::Read;
        return progress ? Phase::Take : Phase::Wait;
    }

    bool CanGoOn(const Shared<N>& shared) const { return phase != Phase::Wait || shared.IsSet(Event::Filled); }
    bool IsMaking() const { return phase == Phase::Make; }
    bool HasReceivedAll() const { return received == total && !wrong; }
    bool WrongMessage() const { return wrong; }
    std::int32_t PuttingDown() const { return ipc::kNoNode; }
    void CountHeld(PerNode<std::int32_t, N>& places) const { CountQueue<N>(places, lists.Aside()); }
    void Encode(std::string& key) const {
        EncodeByte(key, static_cast<std::int32_t>(phase));
        EncodeByte(key, received);
        EncodeByte(key, (wrong ? 1 : 0) + (progress ? 2 : 0) + (lists.Damaged() ? 4 : 0));
        EncodeByte(key, reading);
        EncodeByte(key, lists.HeldBack());
        EncodeQueue(key, lists.Aside());
    }
};

}  // namespace list_search
